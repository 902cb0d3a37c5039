#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tapeloop {

/// The length of the UTF-8 sequence that begins `text` with a byte from 0x80 up, or 0 if it is
/// none. Overlong forms, surrogates and values beyond U+10FFFF are none.
[[nodiscard]] std::size_t sequenceLength(std::string_view text);

/// What JSON is made of, without an idea of how it goes together. Each function that takes
/// something says whether it was there.
class JsonScanner {
 public:
  explicit JsonScanner(std::string_view text)
      : begin_(text.data()), at_(begin_), end_(begin_ + text.size()) {}

  /// Of the next byte.
  [[nodiscard]] std::size_t position() const { return static_cast<std::size_t>(at_ - begin_); }
  [[nodiscard]] bool isAtEnd() const { return at_ == end_; }
  /// The next byte, a zero at the end.
  [[nodiscard]] char peek() const { return at_ == end_ ? '\0' : *at_; }
  void skip() { ++at_; }
  void skipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\r' || *at_ == '\t')) ++at_;
  }

  [[nodiscard]] bool takeWord(std::string_view word);
  /// `number` is as it is written: JSON sets no bounds to it.
  [[nodiscard]] bool takeNumber(std::string_view& number);
  /// From a quotation mark on. `text` holds until the next one is taken.
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

/// Hands what is in a JSON text to `Handler` in the order in which it stands there. Each of the
/// handler's answers says whether to go on:
///
///     bool word();                    // null, true or false
///     bool number(std::string_view);  // as it is written
///     bool text(std::string_view);
///     bool beginArray();              // the scanner stands before the bracket
///     bool endArray();                // likewise
///     bool beginObject();
///     bool key(std::string_view);
///     bool endObject();
///
/// Nesting takes a bit of memory a level, and no stack.
template <typename Handler>
class JsonReader {
 public:
  JsonReader(JsonScanner& scanner, Handler& handler) : scanner_(scanner), handler_(handler) {}

  /// False unless all of the text is JSON in UTF-8, and the handler has taken all of it.
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
  /// The next element or member of the innermost array or object, or its end.
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
  std::vector<bool> isInObject_;  // one for each array and object that is open
  bool isFirst_ = false;          // nothing stands before this in the innermost one
};

// What a number is worth that stands in a JSON text, however it is written.

/// The nearest double; a zero if all others are larger. Nothing if it is larger than all of them.
[[nodiscard]] std::optional<double> floatOf(std::string_view number);

/// Nothing unless the value is integral, to the last digit, and in range.
[[nodiscard]] std::optional<std::int64_t> integerOf(std::string_view number);

}  // namespace tapeloop
