#include "platform/x11/keyboard_layouts.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <utility>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include "platform/x11/key_positions.h"

namespace tapeloop::x11 {
namespace {

constexpr std::uint8_t ansiKeyboard = 40;

struct DeadKey {
  xkb_keysym_t symbol;
  const char* accent;
};
// A dead key writes nothing by itself; what is printed on it is the accent standing alone.
constexpr std::array<DeadKey, 14> deadKeys{{{XKB_KEY_dead_grave, "`"},
                                            {XKB_KEY_dead_acute, "\u00b4"},
                                            {XKB_KEY_dead_circumflex, "^"},
                                            {XKB_KEY_dead_tilde, "~"},
                                            {XKB_KEY_dead_macron, "\u00af"},
                                            {XKB_KEY_dead_breve, "\u02d8"},
                                            {XKB_KEY_dead_abovedot, "\u02d9"},
                                            {XKB_KEY_dead_diaeresis, "\u00a8"},
                                            {XKB_KEY_dead_abovering, "\u02da"},
                                            {XKB_KEY_dead_doubleacute, "\u02dd"},
                                            {XKB_KEY_dead_caron, "\u02c7"},
                                            {XKB_KEY_dead_cedilla, "\u00b8"},
                                            {XKB_KEY_dead_ogonek, "\u02db"},
                                            {XKB_KEY_dead_stroke, "/"}}};

std::string textOf(xkb_keysym_t symbol) {
  for (const auto& [dead, accent] : deadKeys) {
    if (symbol == dead) return accent;
  }
  std::array<char, 8> text{};
  if (xkb_keysym_to_utf8(symbol, text.data(), text.size()) <= 1) return {};
  const auto first = static_cast<unsigned char>(text[0]);
  constexpr unsigned char deleteCharacter = 0x7f;
  return first < ' ' || first == deleteCharacter ? std::string() : std::string(text.data());
}

std::string textOf(xkb_keymap* keymap, xkb_keycode_t keycode, xkb_layout_index_t group) {
  const xkb_layout_index_t groups = xkb_keymap_num_layouts_for_key(keymap, keycode);
  if (groups == 0) return {};
  // A key that has fewer groups than the others uses its last ones round again.
  group %= groups;
  const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap, keycode, group);
  // The keys of the number pad write only where num lock puts them.
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    const xkb_keysym_t* symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &symbols) != 1) continue;
    if (auto text = textOf(symbols[0]); !text.empty()) return text;
  }
  return {};
}

// How many of the letters a to z the layout writes.
std::size_t latinLetters(xkb_keymap* keymap, xkb_layout_index_t group) {
  std::bitset<26> found;
  for (xkb_keycode_t keycode = xkb_keymap_min_keycode(keymap);
       keycode <= xkb_keymap_max_keycode(keymap); ++keycode) {
    const std::string text = textOf(keymap, keycode, group);
    if (text.size() == 1 && text[0] >= 'a' && text[0] <= 'z') {
      found.set(static_cast<std::size_t>(text[0] - 'a'));
    }
  }
  return found.count();
}

std::size_t utf16Length(const std::string& text) {
  std::size_t length = 0;
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    const bool continues = (byte & 0xc0U) == 0x80U;
    if (!continues) length += byte >= 0xf0U ? 2 : 1;
  }
  return length;
}

using Keycodes = std::array<std::uint8_t, 0x200>;  // by key code; 0: no such key

class Group final : public InputSource, public UnicodeKeyLayoutData {
 public:
  Group(std::shared_ptr<xkb_keymap> keymap, xkb_layout_index_t number, const Keycodes& keycodes)
      : keymap_(std::move(keymap)), number_(number), keycodes_(keycodes) {}

  [[nodiscard]] const UnicodeKeyLayoutData* TISGetInputSourceProperty() const override {
    return this;
  }
  [[nodiscard]] std::optional<std::string> UCKeyTranslate(std::uint16_t keyCode, KeyAction,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, std::uint32_t&,
                                                          std::size_t maxLength) const override {
    if (keyCode >= keycodes_.size() || keycodes_[keyCode] == 0) return std::nullopt;
    std::string text = textOf(keymap_.get(), keycodes_[keyCode], number_);
    if (text.empty() || utf16Length(text) > maxLength) return std::nullopt;
    return text;
  }

 private:
  const std::shared_ptr<xkb_keymap> keymap_;
  const xkb_layout_index_t number_;
  const Keycodes keycodes_;  // the keyboard's own go on to follow the keyboard
};

// Null when the descriptions of keyboards are not installed.
std::shared_ptr<const InputSource> ansiLayout() {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
      xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
  const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
  const std::shared_ptr<xkb_keymap> keymap(
      xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS),
      xkb_keymap_unref);
  if (!keymap) return nullptr;
  Keycodes keycodes{};
  const auto last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap.get()), 0xff);
  for (auto keycode = xkb_keymap_min_keycode(keymap.get()); keycode <= last; ++keycode) {
    const char* name = xkb_keymap_key_get_name(keymap.get(), keycode);
    const auto keyCode = name != nullptr ? virtualKeyCode(name) : std::nullopt;
    if (keyCode) keycodes[*keyCode] = static_cast<std::uint8_t>(keycode);
  }
  return std::make_shared<Group>(keymap, 0, keycodes);
}

}  // namespace

std::shared_ptr<const InputSource>
X11KeyboardLayouts::TISCopyCurrentASCIICapableKeyboardLayoutInputSource() {
  auto keymap = keyboard_.keymap();
  if (!keymap) return nullptr;
  // Many Latin layouts lack a letter or two. Of equally good ones that in force is taken.
  xkb_layout_index_t best = state_.group();
  std::size_t most = latinLetters(keymap.get(), best);
  for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts(keymap.get()); ++group) {
    const std::size_t letters = latinLetters(keymap.get(), group);
    if (letters <= most) continue;
    best = group;
    most = letters;
  }
  if (most > 0) return std::make_shared<Group>(std::move(keymap), best, keyboard_.keycodes());
  if (!ansi_) ansi_ = ansiLayout();
  return ansi_;
}

std::uint8_t X11KeyboardLayouts::LMGetKbdType() const {
  return ansiKeyboard;
}

Subscription X11KeyboardLayouts::onChange(std::function<void()> callback) {
  auto map = std::make_shared<Subscription>(keyboard_.onChange(callback));
  auto group = std::make_shared<Subscription>(state_.onGroup(std::move(callback)));
  return Subscription([map, group] {
    map->reset();
    group->reset();
  });
}

}  // namespace tapeloop::x11
