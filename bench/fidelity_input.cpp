#include "fidelity_input.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace tapeloop::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using support::XAction;
using support::XEventKind;

template <typename Choices>
auto oneOf(Random& random, const Choices& choices) {
  return choices[std::uniform_int_distribution<std::size_t>(0, std::size(choices) - 1)(random)];
}

/// Events in order, each some time after the one before.
class Stream {
 public:
  explicit Stream(Random& random) : random_(random) {}

  [[nodiscard]] bool chance(double share) {
    return std::uniform_real_distribution<>(0, 1)(random_) < share;
  }
  [[nodiscard]] int between(int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random_);
  }
  void wait(std::chrono::milliseconds least, std::chrono::milliseconds most) {
    now_ += between(static_cast<int>(least.count()), static_cast<int>(most.count())) * 1ms;
  }
  void add(XEventKind kind, std::uint8_t detail) { append({kind, detail}); }
  void moveTo(int x, int y) {
    append({XEventKind::motion, 0, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
  }
  [[nodiscard]] std::vector<XAction> take() { return std::move(actions_); }

 private:
  void append(XAction action) {
    // Mostly short distances, and long ones now and then.
    const double more = std::exponential_distribution<>(1 / 3e6)(random_);
    now_ += 2ms + nanoseconds(std::llround(std::min(more, 28e6)));
    action.offset = now_;
    actions_.push_back(action);
  }

  Random& random_;
  nanoseconds now_{0};
  std::vector<XAction> actions_;
};

class Typist {
 public:
  Typist(Random& random, bool hasLevel3)
      : random_(random), stream_(random), hasLevel3_(hasLevel3) {}

  std::vector<XAction> type(std::size_t keys) {
    for (int i = 0; i < 3; ++i) strike(letterA);
    while (struck_ < keys) {
      changeModifiers();
      if (stream_.chance(0.8)) {
        strike(stream_.chance(0.06) ? oneOf(random_, oftenDead) : oneOf(random_, characters));
      } else if (stream_.chance(0.05)) {
        strike(capsLock);
      } else {
        edit();
      }
    }
    letGo(overlapping_);
    letGo(shift_);
    letGo(level3_);
    // The first one ends what a dead key has begun.
    for (int i = 0; i < 2; ++i) strike(returnKey, Overlap::no);
    return stream_.take();
  }

 private:
  enum class Overlap : std::uint8_t { no, maybe };

  static constexpr std::uint8_t letterA = 38;
  static constexpr std::uint8_t capsLock = 66;
  static constexpr std::uint8_t backspace = 22;
  static constexpr std::uint8_t deleteKey = 119;
  static constexpr std::uint8_t left = 113;
  static constexpr std::uint8_t right = 114;
  static constexpr std::uint8_t returnKey = 36;
  static constexpr std::uint8_t level3Key = 108;
  static constexpr std::array<std::uint8_t, 2> shiftKeys{50, 62};
  static constexpr auto characters = std::to_array<std::uint8_t>(
      {10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 24, 25, 26,  27, 28, 29, 30,
       31, 32, 33, 34, 35, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,  48, 49, 51, 52,
       53, 54, 55, 56, 57, 58, 59, 60, 61, 65, 65, 65, 65, 94, 106, 63, 82, 86});
  // Dead in some of the layouts.
  static constexpr auto oftenDead = std::to_array<std::uint8_t>({21, 34, 35, 47, 48, 49});
  // Return, Tab, Backspace, Delete, the arrows, Home, End.
  static constexpr auto editing =
      std::to_array<std::uint8_t>({returnKey, returnKey, 23, backspace, backspace, backspace,
                                   deleteKey, left, left, right, 111, 116, 110, 115});
  static constexpr auto byWords = std::to_array<std::uint8_t>({backspace, deleteKey, left, right});

  void changeModifiers() {
    change(shift_, oneOf(random_, shiftKeys), 0.1, 0.35);
    if (hasLevel3_) change(level3_, level3Key, 0.04, 0.5);
  }

  void change(std::optional<std::uint8_t>& key, std::uint8_t pressed, double press,
              double release) {
    if (key) {
      if (stream_.chance(release)) letGo(key);
    } else if (stream_.chance(press)) {
      stream_.add(XEventKind::keyPress, pressed);
      key = pressed;
    }
  }

  void letGo(std::optional<std::uint8_t>& key) {
    if (key) stream_.add(XEventKind::keyRelease, *key);
    key.reset();
  }

  void edit() {
    if (stream_.chance(0.15)) {
      // With Shift the selections would be large and little of the text remain.
      letGo(overlapping_);
      letGo(shift_);
      letGo(level3_);
      stream_.add(XEventKind::keyPress, keycode::control);
      strike(oneOf(random_, byWords), Overlap::no);
      stream_.add(XEventKind::keyRelease, keycode::control);
      return;
    }
    const auto key = oneOf(random_, editing);
    // With Shift it is the key that cuts.
    strike(key == deleteKey && shift_ ? backspace : key);
  }

  void strike(std::uint8_t key, Overlap overlap = Overlap::maybe) {
    if (overlapping_ == key) letGo(overlapping_);
    stream_.add(XEventKind::keyPress, key);
    ++struck_;
    letGo(overlapping_);
    if (key != capsLock && stream_.chance(0.004)) stream_.wait(250ms, 450ms);
    overlapping_ = key;
    if (overlap == Overlap::no || !stream_.chance(0.3)) letGo(overlapping_);
  }

  Random& random_;
  Stream stream_;
  bool hasLevel3_;
  std::size_t struck_ = 0;
  std::optional<std::uint8_t> overlapping_;  // down until after the next press
  std::optional<std::uint8_t> shift_;
  std::optional<std::uint8_t> level3_;
};

class Painter {
 public:
  Painter(Random& random, int width, int height, Buttons buttons)
      : random_(random), stream_(random), width_(width), height_(height), buttons_(buttons) {}

  std::vector<XAction> paint(std::size_t works) {
    go();
    for (std::size_t i = 0; i < works; ++i) {
      // Far enough away, so that no click makes a double click of the one before.
      go();
      work();
    }
    go();
    click(left);
    return stream_.take();
  }

 private:
  static constexpr std::uint8_t left = 1;
  static constexpr std::uint8_t middle = 2;
  static constexpr std::uint8_t right = 3;
  static constexpr std::uint8_t firstWheel = 4;
  static constexpr std::uint8_t lastWheel = 7;
  static constexpr int farAway = 40;

  void work() {
    const int kind = stream_.between(0, 9);
    if (kind < 4) {
      drag(button());
    } else if (kind < 6) {
      click(button());
    } else if (kind < 8) {
      const auto pressed = button();
      click(pressed);
      stream_.wait(10ms, 60ms);
      click(pressed);
    } else {
      const auto wheel = static_cast<std::uint8_t>(stream_.between(firstWheel, lastWheel));
      for (int notches = stream_.between(1, 8); notches > 0; --notches) click(wheel);
    }
  }

  std::uint8_t button() {
    if (buttons_ == Buttons::all && stream_.chance(0.25)) return middle;
    return stream_.chance(0.3) ? right : left;
  }

  void go() {
    const int fromX = x_;
    const int fromY = y_;
    do {
      for (int steps = stream_.between(1, 12); steps > 0; --steps) step(150);
    } while (std::abs(x_ - fromX) < farAway && std::abs(y_ - fromY) < farAway);
  }

  void drag(std::uint8_t button) {
    stream_.add(XEventKind::buttonPress, button);
    for (int steps = stream_.between(3, 40); steps > 0; --steps) {
      step(25);
      // The other hand is on the other button.
      if (button == left && stream_.chance(0.01)) click(right);
    }
    stream_.add(XEventKind::buttonRelease, button);
  }

  void click(std::uint8_t button) {
    stream_.add(XEventKind::buttonPress, button);
    stream_.add(XEventKind::buttonRelease, button);
  }

  void step(int most) {
    x_ = std::clamp(x_ + stream_.between(-most, most), 0, width_ - 1);
    y_ = std::clamp(y_ + stream_.between(-most, most), 0, height_ - 1);
    stream_.moveTo(x_, y_);
  }

  Random& random_;
  Stream stream_;
  int width_;
  int height_;
  Buttons buttons_;
  int x_ = width_ / 2;
  int y_ = height_ / 2;
};

}  // namespace

std::vector<XAction> randomTyping(Random& random, std::size_t keys, bool hasLevel3) {
  return Typist(random, hasLevel3).type(keys);
}

std::vector<XAction> randomDrawing(Random& random, std::size_t works, int width, int height,
                                   Buttons buttons) {
  return Painter(random, width, height, buttons).paint(works);
}

}  // namespace tapeloop::bench
