#include "MivoraMac/platform/base/MVAction.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"

namespace {

struct Sender {
    int value = 0;
};

class Base {
 public:
    virtual ~Base() = default;
    virtual void overridden(const std::shared_ptr<Sender>&) { calls.emplace_back("base"); }
    void inherited(const std::shared_ptr<Sender>& sender) {
        calls.push_back("inherited " + std::to_string(sender ? sender->value : -1));
    }

    std::vector<std::string> calls;
};

struct OtherBase {
    virtual ~OtherBase() = default;
    virtual void ofTheOther(const std::shared_ptr<Sender>&) { ++othersCalls; }
    int othersCalls = 0;
};

class Target : public Base, public OtherBase {
 public:
    void own(const std::shared_ptr<Sender>&) { calls.emplace_back("own"); }
    void ownToo(const std::shared_ptr<Sender>&) { calls.emplace_back("own too"); }
    void overridden(const std::shared_ptr<Sender>&) override { calls.emplace_back("derived"); }
    void ofAnotherSender(const std::shared_ptr<int>&) { calls.emplace_back("another"); }
    void throws(const std::shared_ptr<Sender>&) { throw std::runtime_error("no"); }
};

struct Stranger {
    void own(const std::shared_ptr<Sender>&) {}
};

template <class Method>
void perform(const std::shared_ptr<Target>& target, Method method,
             const std::shared_ptr<Sender>& sender) {
    MVAction(method).perform(MVAction::receiver(target, method), sender);
}

class MVActionTest : public testing::Test {
 protected:
    std::shared_ptr<Target> target_ = std::make_shared<Target>();
    std::shared_ptr<Sender> sender_ = std::make_shared<Sender>(Sender{7});
};

}  // namespace

TEST_F(MVActionTest, performingCallsTheMemberFunctionWithTheSender) {
    perform(target_, &Target::own, sender_);
    perform(target_, &Target::inherited, sender_);
    EXPECT_EQ(target_->calls, (std::vector<std::string>{"own", "inherited 7"}));
}

TEST_F(MVActionTest, aNullSenderIsHandedOn) {
    perform(target_, &Target::inherited, nullptr);
    EXPECT_EQ(target_->calls, (std::vector<std::string>{"inherited -1"}));
}

TEST_F(MVActionTest, anOverriddenMemberFunctionIsTheDerivedOne) {
    perform(target_, &Base::overridden, sender_);
    EXPECT_EQ(target_->calls, (std::vector<std::string>{"derived"}));
}

TEST_F(MVActionTest, aTargetMayHaveTheMemberFunctionFromAnyOfItsBases) {
    perform(target_, &OtherBase::ofTheOther, sender_);
    EXPECT_EQ(target_->othersCalls, 1);
}

TEST_F(MVActionTest, theReceiverSharesOwnershipOfTheObject) {
    auto receiver = MVAction::receiver(target_, &OtherBase::ofTheOther);
    const std::weak_ptr<Target> target = target_;
    target_ = nullptr;
    EXPECT_FALSE(target.expired());
    receiver = nullptr;
    EXPECT_TRUE(target.expired());
}

TEST_F(MVActionTest, noActionDoesNothing) {
    void (Target::*null)(const std::shared_ptr<Sender>&) = nullptr;
    for (const MVAction& action : {MVAction(), MVAction(nullptr), MVAction(null)}) {
        EXPECT_FALSE(action);
        action.perform(target_, sender_);
    }
    EXPECT_TRUE(target_->calls.empty());
    EXPECT_TRUE(MVAction(&Target::own));
}

TEST_F(MVActionTest, aNullTargetIsNotCalled) {
    const auto receiver = MVAction::receiver(std::shared_ptr<Target>(), &OtherBase::ofTheOther);
    EXPECT_EQ(receiver, nullptr);
    MVAction(&OtherBase::ofTheOther).perform(receiver, sender_);
}

TEST_F(MVActionTest, aSenderOfAnotherClassIsRefused) {
    const MVAction action = &Target::ofAnotherSender;
    EXPECT_THROW(action.perform(target_, sender_), MVException);
    action.perform(target_, std::make_shared<int>(1));
    EXPECT_EQ(target_->calls, (std::vector<std::string>{"another"}));
}

TEST_F(MVActionTest, whatTheMemberFunctionThrowsComesBack) {
    EXPECT_THROW(perform(target_, &Target::throws, sender_), std::runtime_error);
}

TEST_F(MVActionTest, actionsOfTheSameMemberFunctionAreEqual) {
    EXPECT_EQ(MVAction(&Target::own), MVAction(&Target::own));
    EXPECT_EQ(MVAction(&Target::inherited), MVAction(&Base::inherited));
    EXPECT_EQ(MVAction(&Base::overridden), MVAction(&Base::overridden));
    EXPECT_EQ(MVAction(), MVAction(nullptr));
}

TEST_F(MVActionTest, actionsOfDifferentMemberFunctionsDiffer) {
    EXPECT_NE(MVAction(&Target::own), MVAction(&Target::ownToo));
    EXPECT_NE(MVAction(&Target::own), MVAction(&Stranger::own));
    EXPECT_NE(MVAction(&Target::own), MVAction(&Target::ofAnotherSender));
    EXPECT_NE(MVAction(&Base::overridden), MVAction(&OtherBase::ofTheOther));
    EXPECT_NE(MVAction(&Target::own), MVAction());
    EXPECT_NE(MVAction(), MVAction(&Target::own));
}

TEST_F(MVActionTest, aCopyIsEqualAndCallsTheSame) {
    const MVAction action = &Target::own;
    MVAction copy;
    copy = action;
    EXPECT_EQ(copy, action);
    copy.perform(target_, sender_);
    EXPECT_EQ(target_->calls, (std::vector<std::string>{"own"}));
}
