#include "MivoraMac/platform/base/MVException.h"

#include <utility>

MVException::MVException(std::string name, std::string reason)
    : name_(std::move(name)), reason_(std::move(reason)), what_(name_ + ": " + reason_) {}

MVException::~MVException() = default;
