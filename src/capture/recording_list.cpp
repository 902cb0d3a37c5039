#include "capture/recording_list.h"

#include "capture/json_reader.h"
#include "capture/recording_json.h"

namespace tapeloop {

std::optional<std::string> encodeHead(const RecordingHead& head) {
  const auto title = encodeText(head.title);
  if (!title) return std::nullopt;
  return "{\"title\":" + *title + ",\"uniqueID\":\"" + head.uniqueID.text() + '"';
}

std::optional<RecordingHead> decodeHead(std::string_view text) {
  constexpr std::string_view start = "{\"title\":";
  if (!text.starts_with(start)) return std::nullopt;
  JsonScanner scanner(text.substr(start.size()));
  std::string_view title;
  if (scanner.peek() != '"' || !scanner.takeText(title)) return std::nullopt;
  RecordingHead head{std::string(title), {}};
  constexpr std::string_view between = ",\"uniqueID\":\"";
  std::string_view rest = text.substr(start.size() + scanner.position());
  if (!rest.starts_with(between) || !rest.ends_with('"')) return std::nullopt;
  rest.remove_prefix(between.size());
  rest.remove_suffix(1);
  const auto uniqueID = Uuid::parse(rest);
  if (!uniqueID) return std::nullopt;
  head.uniqueID = *uniqueID;
  return head;
}

}  // namespace tapeloop
