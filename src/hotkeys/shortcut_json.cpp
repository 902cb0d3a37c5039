#include "hotkeys/shortcut_json.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace tapeloop {
namespace {

constexpr const char* keyCodeMember = "carbonKeyCode";
constexpr const char* modifiersMember = "carbonModifiers";
// Deep nesting is parsed without recursion.
constexpr unsigned parseFlags =
    rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;

}  // namespace

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
  // The parser takes a zero byte for the end.
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  rapidjson::Document document;
  document.Parse<parseFlags>(text.data(), text.size());
  if (document.HasParseError() || !document.IsObject()) return std::nullopt;
  // Constant, so that their comparisons are no different the other way round.
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
