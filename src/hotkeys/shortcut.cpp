#include "hotkeys/shortcut.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <locale>
#include <stdexcept>
#include <utility>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "hotkeys/key_combo.h"

namespace tapeloop {
namespace {

constexpr const char* unknownCharacter = "\ufffd";
constexpr std::size_t longestCharacter = 4;  // UTF-16 units

std::uint64_t flagsOf(const Shortcut& shortcut) {
  return modifierFlags(static_cast<std::uint64_t>(shortcut.carbonModifiers));
}

// Layouts write non-ASCII characters too, and the program's own locale may not cover them.
const std::locale& unicodeLocale() {
  static const std::locale locale = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale::classic();
    }
  }();
  return locale;
}

std::string upperCase(const std::string& text) {
  // The only key of a layout whose capital is two letters, which towupper can't return.
  if (text == "\u00df") return "SS";
  using Codec = std::codecvt<wchar_t, char, std::mbstate_t>;
  const auto& codec = std::use_facet<Codec>(unicodeLocale());
  std::wstring wide(text.size(), L'\0');
  std::mbstate_t state{};
  const char* read = nullptr;
  wchar_t* wideEnd = nullptr;
  if (codec.in(state, text.data(), text.data() + text.size(), read, wide.data(),
               wide.data() + wide.size(), wideEnd) != Codec::ok) {
    return text;
  }
  std::use_facet<std::ctype<wchar_t>>(unicodeLocale()).toupper(wide.data(), wideEnd);

  constexpr std::size_t longest = 4;  // bytes of a character
  std::string upper(wide.size() * longest, '\0');
  const wchar_t* written = nullptr;
  char* end = nullptr;
  state = {};
  if (codec.out(state, wide.data(), wideEnd, written, upper.data(), upper.data() + upper.size(),
                end) != Codec::ok) {
    return text;
  }
  upper.resize(static_cast<std::size_t>(end - upper.data()));
  return upper;
}

constexpr const char* keyCodeMember = "carbonKeyCode";
constexpr const char* modifiersMember = "carbonModifiers";
// Iterative, so that deep nesting does not overflow the stack.
constexpr unsigned parseFlags =
    rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;

}  // namespace

std::optional<Shortcut> shortcutOf(const InputEvent& event) {
  const EventKind* const kind = kindOf(event.type);
  if (kind == nullptr || kind->eventClass != EventClass::key) return std::nullopt;
  return Shortcut{event.keyCode, modifierBits(event.modifierFlags)};
}

std::optional<std::string> characterOf(std::int64_t keyCode, KeyboardLayouts& layouts) {
  if (!std::in_range<std::uint16_t>(keyCode)) return std::nullopt;
  const auto key = keyWithCode(static_cast<std::uint32_t>(keyCode));
  if (key && !nameInAnyLayout(*key).empty()) return std::string(nameInAnyLayout(*key));

  const auto source = layouts.TISCopyCurrentASCIICapableKeyboardLayoutInputSource();
  const auto* layout = source ? source->TISGetInputSourceProperty() : nullptr;
  if (layout == nullptr) return std::nullopt;
  std::uint32_t deadKeyState = 0;
  return layout->UCKeyTranslate(static_cast<std::uint16_t>(keyCode), KeyAction::display, 0,
                                layouts.LMGetKbdType(), 0, deadKeyState, longestCharacter);
}

std::string displayText(const Shortcut& shortcut, KeyboardLayouts& layouts) {
  const auto character = characterOf(shortcut.carbonKeyCode, layouts);
  return modifierGlyphs(flagsOf(shortcut)) +
         (character ? upperCase(*character) : std::string(unknownCharacter));
}

bool isSystemShortcut(const Shortcut& shortcut, HotKeyService& service) {
  const auto& [keyCode, modifiers] = shortcut;
  if (!std::in_range<std::uint32_t>(keyCode) || !std::in_range<std::uint32_t>(modifiers)) {
    return false;
  }
  const auto hotKeys = service.CopySymbolicHotKeys(static_cast<std::uint32_t>(keyCode),
                                                   static_cast<std::uint32_t>(modifiers));
  if (!hotKeys) return false;
  return std::any_of(hotKeys->begin(), hotKeys->end(), [&](const SymbolicHotKey& each) {
    if (each.enabled != true || !each.code || !each.modifiers) return false;
    const auto flags = modifierFlags(static_cast<std::uint64_t>(*each.modifiers));
    return Shortcut{*each.code, modifierBits(flags)} == shortcut;
  });
}

const MenuItem* menuItemOwning(const Shortcut& shortcut, const Menu& menu,
                               KeyboardLayouts& layouts) {
  const auto character = characterOf(shortcut.carbonKeyCode, layouts);
  if (!character) return nullptr;
  const std::uint64_t flags = flagsOf(shortcut);
  for (const auto& item : menu.items) {
    const bool sameKey = !item.keyEquivalent.empty() && item.keyEquivalent == *character;
    const auto& masks = item.keyEquivalentModifierMasks;
    if (sameKey && std::find(masks.begin(), masks.end(), flags) != masks.end()) return &item;
    if (const auto* owner = menuItemOwning(shortcut, item.submenu, layouts)) return owner;
  }
  return nullptr;
}

std::string toJson(const Shortcut& shortcut) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer writer(buffer);
  writer.StartObject();
  writer.Key(keyCodeMember);
  writer.Int64(shortcut.carbonKeyCode);
  writer.Key(modifiersMember);
  writer.Int64(shortcut.carbonModifiers);
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

std::optional<Shortcut> shortcutFromJson(std::string_view text) {
  // The parser stops at a zero byte and would ignore what follows.
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  rapidjson::Document document;
  document.Parse<parseFlags>(text.data(), text.size());
  if (document.HasParseError() || !document.IsObject()) return std::nullopt;
  // A constant reference, because with C++20 the comparison of RapidJSON's non-constant member
  // iterators is ambiguous.
  const rapidjson::Value& object = document;
  const auto keyCode = object.FindMember(keyCodeMember);
  const auto modifiers = object.FindMember(modifiersMember);
  if (keyCode == object.MemberEnd() || !keyCode->value.IsInt64() ||
      modifiers == object.MemberEnd() || !modifiers->value.IsInt64()) {
    return std::nullopt;
  }
  return Shortcut{keyCode->value.GetInt64(), modifiers->value.GetInt64()};
}

}  // namespace tapeloop
