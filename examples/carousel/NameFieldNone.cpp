// The place of the text field in a program that is built without a desktop.

#include "NameField.h"

using Mivora::platform::View;

struct NameField::Widget {};

NameField::NameField() : view_(MVBridgeView::initWithBridgeView(View::initWithFrame({}))) {
    view_->setSize(kSize);
}

NameField::~NameField() = default;

void NameField::setName(const std::string& /*name*/) {}

void NameField::setChangeHandler(std::function<void(const std::string&)> /*change*/) {}
