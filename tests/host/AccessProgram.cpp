// An application as users of the library write it, whose views the keyboard reaches and assistive
// technology shows: three cards in space, a text that one of them is called by, a field of the
// toolkit among them, a picture and a title. For the scripts beside it: prints what the cards are
// told and obeys the lines it reads. NAME is red, green or blue.
//
//   turn NAME DEGREES     turns a card about its upright axis
//   rename NAME LABEL     what it is called
//   value NAME VALUE      what it says
//   text TEXT             of the title
//   hide NAME / show NAME
//   remove NAME
//   focus NAME
//   use SYMBOL            a key that the red card has a use for, in hexadecimal
//   hide-on-focus NAME    the card hides once it gets the focus
#include <gtk/gtk.h>

#include <cstdio>
#include <map>
#include <memory>
#include <numbers>
#include <set>
#include <string>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::Role;
using Mivora::platform::ViewForGtkWidget;
using Mivora::platform::Window;

namespace {

/// A card that prints what it is told.
class Card : public MVColorView {
 public:
    Card(const char* name, Mivora::ColorRGBA color) : name_(name) {
        setColor(color);
        setSize({100, 80});
        setAnchorPoint({0.5F, 0.5F});
    }

    bool keyBegan(const std::shared_ptr<MVKey>& key) override {
        std::printf("%s down %x%s%s%s\n", name_, key->symbol(), key->text().empty() ? "" : " ",
                    key->text().c_str(), key->isRepeat() ? " repeat" : "");
        return used.count(key->symbol()) != 0 || MVColorView::keyBegan(key);
    }
    void focusBegan() override {
        std::printf("focus %s\n", name_);
        if (hidesOnFocus) {
            setHidden(true);
        }
    }
    void focusEnded() override { std::printf("blur %s\n", name_); }

    std::set<std::uint32_t> used;
    bool hidesOnFocus = false;

 private:
    const char* name_;
};

MVTextView::AttributedStringPointer styled(const std::string& text) {
    return MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        text, "DejaVu Sans", 14, {1, 1, 1, 1}, 0, false);
}

std::shared_ptr<MVTextView> write(const std::string& text) {
    auto view = MVTextView::init();
    view->setText(styled(text));
    view->setSize(MVTextView::sizeOfAttributedString(view->text()));
    return view;
}

struct Program {
    std::shared_ptr<MVApplication> application = MVApplication::init();
    std::shared_ptr<Window> window;
    std::shared_ptr<MVTextView> title;
    std::map<std::string, std::shared_ptr<Card>> cards;

    Program();
    std::shared_ptr<Card> add(const char* name, Mivora::ColorRGBA color, Mivora::Point2 position);
    void obey(const std::string& command, std::istringstream& rest);
};

std::shared_ptr<Card> Program::add(const char* name, Mivora::ColorRGBA color,
                                   Mivora::Point2 position) {
    auto card = MVMake<Card>(name, color);
    card->setPosition(position);
    card->setFocusable(true);
    card->setAccessibilityActions({{"flip", [name] { std::printf("flip %s\n", name); }},
                                   {"look closer", [name] { std::printf("look at %s\n", name); }}});
    cards[name] = card;
    return card;
}

Program::Program() {
    const std::shared_ptr<MVWindow> root = application->window();

    title = write("Three cards");
    title->setPosition({20, 10});
    title->setAccessibilityRole(Role::Heading);
    root->addSubview(title);

    const auto red = add("red", {1, 0, 0, 1}, {90, 180});
    red->setAccessibilityLabel("Red card");
    red->setRotation3({0, 0.9F, 0});
    root->addSubview(red);

    // Its plane is turned away with what it is in.
    auto row = MVView::init();
    row->setSize({400, 300});
    row->setAnchorPoint({0.5F, 0.5F});
    row->setPosition({200, 150});
    row->setRotation3({-0.7F, 0, 0.3F});
    row->setAccessibilityRole(Role::List);
    row->setAccessibilityLabel("Row");
    root->addSubview(row);
    const auto green = add("green", {0, 1, 0, 1}, {270, 80});
    green->setAccessibilityRole(Role::ListItem);
    green->setAccessibilityLabel("Green card");
    green->setAccessibilityValue("shut");
    row->addSubview(green);

    GtkWidget* const entry = gtk_entry_new();
    auto field = MVBridgeView::initWithBridgeView(ViewForGtkWidget(entry));
    field->setPosition({20, 250});
    field->setSize({120, 36});
    root->addSubview(field);

    // Called by the text that is in it.
    const auto blue = add("blue", {0, 0, 1, 1}, {});
    blue->setPosition3({290, 220, -150});
    blue->addSubview(write("Blue card"));
    root->addSubview(blue);

    window = Window::initWithTitle("Cards", 400, 300);
    window->setContentView(application->renderView());
    window->show();
    application->setActive(true);
}

void Program::obey(const std::string& command, std::istringstream& rest) {
    std::string name;
    if (command == "text") {
        std::getline(rest >> std::ws, name);
        title->setText(styled(name));
        return;
    }
    if (command == "use") {
        std::uint32_t symbol = 0;
        rest >> std::hex >> symbol;
        cards["red"]->used.insert(symbol);
        return;
    }
    rest >> name;
    const std::shared_ptr<Card> card = cards[name];
    std::string text;
    if (command == "turn") {
        float degrees = 0;
        rest >> degrees;
        card->setRotation3({0, degrees / 180 * std::numbers::pi_v<float>, 0});
    } else if (command == "rename") {
        std::getline(rest >> std::ws, text);
        card->setAccessibilityLabel(text);
    } else if (command == "value") {
        std::getline(rest >> std::ws, text);
        card->setAccessibilityValue(text);
    } else if (command == "hide" || command == "show") {
        card->setHidden(command == "hide");
    } else if (command == "remove") {
        card->removeFromSuperview();
    } else if (command == "focus") {
        card->focus();
    } else if (command == "hide-on-focus") {
        card->hidesOnFocus = true;
    }
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Program program;
    std::puts("shown");
    Mivora::tests::obeyLines(
        [&](const std::string& command, std::istringstream& rest) { program.obey(command, rest); });
    program.application->setActive(false);
    Mivora::tests::endProgram();
}
