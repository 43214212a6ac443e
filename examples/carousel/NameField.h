#pragma once

#include <MivoraMac/MivoraMac.h>
#include <functional>
#include <memory>
#include <string>

/// A text field of the desktop's toolkit among the views, in which the name of a card is written.
/// Where there is no desktop it is there but shows nothing.
class NameField {
 public:
    static constexpr Mivora::Size2 kSize{220, 38};

    NameField();
    ~NameField();
    NameField(const NameField&) = delete;
    NameField& operator=(const NameField&) = delete;

    /// What stands for the field in the tree.
    const std::shared_ptr<MVBridgeView>& view() const { return view_; }

    /// Shows a name, without calling the handler.
    void setName(const std::string& name);

    /// Called with what the user has written, with every change.
    void setChangeHandler(std::function<void(const std::string&)> change);

 private:
    struct Widget;

    std::unique_ptr<Widget> widget_;
    std::shared_ptr<MVBridgeView> view_;
};
