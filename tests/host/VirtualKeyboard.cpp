#include "tests/host/VirtualKeyboard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

namespace Mivora::tests {

namespace {

// The protocol: the requests in the order of their numbers.
extern const wl_interface keyboardInterface;
const wl_interface* const kNoTypes[] = {nullptr, nullptr, nullptr, nullptr};
const wl_interface* const kCreateTypes[] = {&wl_seat_interface, &keyboardInterface};

enum Request : std::uint32_t { Keymap, Key, Modifiers, Destroy };

const wl_message keyboardRequests[] = {
    {"keymap", "uhu", const_cast<const wl_interface**>(kNoTypes)},
    {"key", "uuu", const_cast<const wl_interface**>(kNoTypes)},
    {"modifiers", "uuuu", const_cast<const wl_interface**>(kNoTypes)},
    {"destroy", "", const_cast<const wl_interface**>(kNoTypes)},
};
const wl_interface keyboardInterface = {"zwp_virtual_keyboard_v1", 1, 4,
                                        keyboardRequests,          0, nullptr};

const wl_message managerRequests[] = {
    {"create_virtual_keyboard", "on", const_cast<const wl_interface**>(kCreateTypes)},
};

/// Codes of keys in keymaps are those of the kernel and 8 more.
constexpr xkb_keycode_t kFirstCode = 8;

/// What is held for the levels of a key: nothing, Shift, the right Alt key, both.
const std::array<std::vector<const char*>, 4> kKeysOfLevels = {
    {{}, {"shift"}, {"altgr"}, {"shift", "altgr"}}};

struct Modifier {
    const char* name;
    const char* key;
    const char* inKeymap;
};

constexpr std::array<Modifier, 5> kModifiers = {{
    {"shift", "Shift_L", XKB_MOD_NAME_SHIFT},
    {"control", "Control_L", XKB_MOD_NAME_CTRL},
    {"alt", "Alt_L", XKB_MOD_NAME_ALT},
    {"altgr", "ISO_Level3_Shift", "Mod5"},
    {"super", "Super_L", XKB_MOD_NAME_LOGO},
}};

xkb_keysym_t keysymOf(const std::string& key) {
    for (const Modifier& modifier : kModifiers) {
        if (key == modifier.name) {
            return xkb_keysym_from_name(modifier.key, XKB_KEYSYM_NO_FLAGS);
        }
    }
    return xkb_keysym_from_name(key.c_str(), XKB_KEYSYM_NO_FLAGS);
}

/// The characters of a text that is UTF-8.
std::vector<std::uint32_t> charactersOf(const std::string& text) {
    std::vector<std::uint32_t> characters;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) == 0x80U && !characters.empty()) {
            characters.back() = characters.back() << 6 | (byte & 0x3FU);
        } else {
            characters.push_back(byte < 0x80 ? byte : byte & (byte < 0xE0 ? 0x1FU : 0x0FU));
        }
    }
    return characters;
}

std::uint32_t milliseconds() {
    using std::chrono::duration_cast;
    return static_cast<std::uint32_t>(duration_cast<std::chrono::milliseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

}  // namespace

const wl_interface VirtualKeyboard::kManagerInterface = {
    "zwp_virtual_keyboard_manager_v1", 1, 1, managerRequests, 0, nullptr};

VirtualKeyboard::VirtualKeyboard(wl_proxy* manager, wl_seat* seat)
    : proxy_(wl_proxy_marshal_constructor(manager, 0, &keyboardInterface, seat, nullptr)),
      context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    const xkb_rule_names names{"evdev", "pc105", "us", "altgr-intl", nullptr};
    keymap_ = xkb_keymap_new_from_names(context_, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    state_ = xkb_state_new(keymap_);
    sendKeymap();
}

VirtualKeyboard::~VirtualKeyboard() {
    wl_proxy_marshal(proxy_, Destroy);
    wl_proxy_destroy(proxy_);
    xkb_state_unref(state_);
    xkb_keymap_unref(keymap_);
    xkb_context_unref(context_);
}

void VirtualKeyboard::sendKeymap() {
    char* const text = xkb_keymap_get_as_string(keymap_, XKB_KEYMAP_FORMAT_TEXT_V1);
    const std::size_t length = std::strlen(text) + 1;
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    if (write(file, text, length) == static_cast<ssize_t>(length)) {
        wl_proxy_marshal(proxy_, Keymap, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                         static_cast<std::uint32_t>(length));
    }
    close(file);
    std::free(text);
}

bool VirtualKeyboard::change(const std::string& key, bool pressed) {
    xkb_level_index_t level = 0;
    const xkb_keycode_t code = codeOf(keysymOf(key), level);
    if (code != XKB_KEYCODE_INVALID) {
        send(code, pressed);
    }
    return code != XKB_KEYCODE_INVALID;
}

bool VirtualKeyboard::stroke(const std::string& combination) {
    std::vector<std::string> keys;
    std::istringstream words(combination);
    for (std::string key; std::getline(words, key, '+');) {
        keys.push_back(key);
    }
    bool found = !keys.empty();
    for (const std::string& key : keys) {
        found = press(key) && found;
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        release(*key);
    }
    return found;
}

bool VirtualKeyboard::type(const std::string& text) {
    for (const std::uint32_t character : charactersOf(text)) {
        xkb_level_index_t level = 0;
        const xkb_keycode_t code = codeOf(xkb_utf32_to_keysym(character), level);
        if (code == XKB_KEYCODE_INVALID || level >= kKeysOfLevels.size()) {
            return false;
        }
        for (const char* key : kKeysOfLevels[level]) {
            press(key);
        }
        send(code, true);
        send(code, false);
        for (const char* key : kKeysOfLevels[level]) {
            release(key);
        }
    }
    return true;
}

bool VirtualKeyboard::hold(const std::string& keys) {
    held_ = 0;
    std::istringstream words(keys);
    bool found = true;
    for (std::string key; words >> key;) {
        xkb_mod_index_t index = XKB_MOD_INVALID;
        for (const Modifier& modifier : kModifiers) {
            if (key == modifier.name) {
                index = xkb_keymap_mod_get_index(keymap_, modifier.inKeymap);
            }
        }
        found = found && index != XKB_MOD_INVALID;
        held_ |= index != XKB_MOD_INVALID ? xkb_mod_mask_t(1) << index : 0;
    }
    sendModifiers();
    return found;
}

void VirtualKeyboard::send(xkb_keycode_t code, bool pressed) {
    wl_proxy_marshal(proxy_, Key, milliseconds(), code - kFirstCode,
                     pressed ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    // The compositor leaves it to this side to follow what keys do to the modifiers.
    const auto changed = xkb_state_update_key(state_, code, pressed ? XKB_KEY_DOWN : XKB_KEY_UP);
    if (changed != 0) {
        sendModifiers();
    }
}

void VirtualKeyboard::sendModifiers() {
    wl_proxy_marshal(proxy_, Modifiers,
                     held_ | xkb_state_serialize_mods(state_, XKB_STATE_MODS_DEPRESSED),
                     xkb_state_serialize_mods(state_, XKB_STATE_MODS_LATCHED),
                     xkb_state_serialize_mods(state_, XKB_STATE_MODS_LOCKED),
                     xkb_state_serialize_layout(state_, XKB_STATE_LAYOUT_EFFECTIVE));
}

/// The key with the lowest level that gives a symbol.
xkb_keycode_t VirtualKeyboard::codeOf(xkb_keysym_t keysym, xkb_level_index_t& level) const {
    for (level = 0; level < kKeysOfLevels.size(); ++level) {
        for (auto code = xkb_keymap_min_keycode(keymap_); code <= xkb_keymap_max_keycode(keymap_);
             ++code) {
            const xkb_keysym_t* keysyms = nullptr;
            if (keysym != XKB_KEY_NoSymbol &&
                xkb_keymap_key_get_syms_by_level(keymap_, code, 0, level, &keysyms) == 1 &&
                keysyms[0] == keysym) {
                return code;
            }
        }
    }
    return XKB_KEYCODE_INVALID;
}

}  // namespace Mivora::tests
