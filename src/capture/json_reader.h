#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tapeloop {

/// The length of the UTF-8 sequence at the start of `text`, whose first byte is at least 0x80; 0 if
/// it is invalid: cut short, overlong, a surrogate or beyond U+10FFFF.
[[nodiscard]] std::size_t sequenceLength(std::string_view text);

/// Reads the tokens of a JSON text one after the other. Each `take` function returns false if the
/// text does not go on with such a token.
class JsonScanner {
 public:
  explicit JsonScanner(std::string_view text)
      : begin_(text.data()), at_(begin_), end_(begin_ + text.size()) {}

  /// The offset of the next byte.
  [[nodiscard]] std::size_t position() const { return static_cast<std::size_t>(at_ - begin_); }
  [[nodiscard]] bool isAtEnd() const { return at_ == end_; }
  /// The next byte; 0 at the end.
  [[nodiscard]] char peek() const { return at_ == end_ ? '\0' : *at_; }
  void skip() { ++at_; }
  void skipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\r' || *at_ == '\t')) ++at_;
  }

  [[nodiscard]] bool takeWord(std::string_view word);
  /// `number` is the text of the number: JSON does not limit its size.
  [[nodiscard]] bool takeNumber(std::string_view& number);
  /// The next byte has to be a quotation mark. `text` is valid until the next call.
  [[nodiscard]] bool takeText(std::string_view& text);

 private:
  [[nodiscard]] bool takeDigits();
  [[nodiscard]] bool takeEscape();
  [[nodiscard]] bool takeCodeUnit(unsigned& unit);
  void append(unsigned codePoint);

  const char* begin_;
  const char* at_;
  const char* end_;
  std::string unescaped_;
};

/// Parses a JSON text and calls `Handler` for each value, in the order of the text. The handler's
/// functions return false to stop:
///
///     bool word();                    // null, true or false
///     bool number(std::string_view);  // its text
///     bool text(std::string_view);
///     bool beginArray();              // the scanner is at the bracket
///     bool endArray();                // at the bracket
///     bool beginObject();
///     bool key(std::string_view);
///     bool endObject();
///
/// Not recursive: a level of nesting takes one bit of memory, and no stack.
template <typename Handler>
class JsonReader {
 public:
  JsonReader(JsonScanner& scanner, Handler& handler) : scanner_(scanner), handler_(handler) {}

  /// True if the whole text is valid JSON in UTF-8 and the handler returned true every time.
  [[nodiscard]] bool read() {
    scanner_.skipBlanks();
    if (!value()) return false;
    while (!isInObject_.empty()) {
      if (!next()) return false;
    }
    scanner_.skipBlanks();
    return scanner_.isAtEnd();
  }

 private:
  /// Reads the next element or member of the innermost array or object, or its end.
  bool next() {
    scanner_.skipBlanks();
    const bool isInObject = isInObject_.back();
    if (scanner_.peek() == (isInObject ? '}' : ']')) {
      if (!(isInObject ? handler_.endObject() : handler_.endArray())) return false;
      scanner_.skip();
      isInObject_.pop_back();
      isFirst_ = false;
      return true;
    }
    if (!isFirst_) {
      if (scanner_.peek() != ',') return false;
      scanner_.skip();
      scanner_.skipBlanks();
    }
    isFirst_ = false;
    return (!isInObject || key()) && value();
  }

  bool key() {
    std::string_view name;
    if (scanner_.peek() != '"' || !scanner_.takeText(name) || !handler_.key(name)) return false;
    scanner_.skipBlanks();
    if (scanner_.peek() != ':') return false;
    scanner_.skip();
    scanner_.skipBlanks();
    return true;
  }

  bool value() {
    std::string_view text;
    switch (scanner_.peek()) {
      case '{':
        return handler_.beginObject() && open(true);
      case '[':
        return handler_.beginArray() && open(false);
      case '"':
        return scanner_.takeText(text) && handler_.text(text);
      case 't':
        return scanner_.takeWord("true") && handler_.word();
      case 'f':
        return scanner_.takeWord("false") && handler_.word();
      case 'n':
        return scanner_.takeWord("null") && handler_.word();
      default:
        return scanner_.takeNumber(text) && handler_.number(text);
    }
  }

  bool open(bool isObject) {
    scanner_.skip();
    isInObject_.push_back(isObject);
    isFirst_ = true;
    return true;
  }

  JsonScanner& scanner_;
  Handler& handler_;
  std::vector<bool> isInObject_;  // for each open array and object
  bool isFirst_ = false;          // no element of the innermost one was read yet
};

// The value of a number in a JSON text, in any notation.

/// The nearest double, which is 0 for a value that is too small. Nothing if it is too large.
[[nodiscard]] std::optional<double> floatOf(std::string_view number);

/// Nothing unless the exact value is an integer in range.
[[nodiscard]] std::optional<std::int64_t> integerOf(std::string_view number);

}  // namespace tapeloop
