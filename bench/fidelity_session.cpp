#include "fidelity_session.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/system/sqlite_defaults_store.h"
#include "support/x_state.h"

namespace tapeloop::bench {
namespace {

using namespace std::chrono_literals;
using support::eventually;
using support::Program;
using support::Role;
using support::XAction;
using support::XEvent;
using support::XEventKind;

constexpr const char* recordSlot = "KeyboardShortcuts_toggleUnicornMode";
constexpr const char* playSlot = "KeyboardShortcuts_toggleUnicornMode2";
constexpr const char* controlOptionR = R"({"carbonKeyCode":15,"carbonModifiers":6144})";
constexpr const char* controlOptionP = R"({"carbonKeyCode":35,"carbonModifiers":6144})";

constexpr std::uint8_t f2 = 68;
constexpr std::uint8_t capsLock = 66;
constexpr std::uint16_t lockMask = 1U << 1;
constexpr auto modifierKeys = std::to_array<std::uint8_t>({37, 50, 62, 64, 66, 108});

void require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

bool isKey(const XEvent& event) {
  return event.kind == XEventKind::keyPress || event.kind == XEventKind::keyRelease;
}

bool isModifierKey(const XEvent& event) {
  return isKey(event) && std::ranges::find(modifierKeys, event.detail) != modifierKeys.end();
}

std::filesystem::path emptyFile(const std::filesystem::path& file) {
  std::ofstream(file).flush();
  return file;
}

support::XServerOptions serverOptions(const SessionPlan& plan) {
  support::XServerOptions options;
  // As is usual where letters are not Latin: commands are written in the second layout.
  options.layout = plan.layout == "gr" ? "gr,us" : plan.layout;
  return options;
}

std::vector<XAction> makeActions(const SessionPlan& plan) {
  Random random(plan.seed);
  const support::XServerOptions screen;
  return plan.draws ? randomDrawing(random, plan.length, screen.width, screen.height, plan.buttons)
                    : randomTyping(random, plan.length, plan.layout != "us");
}

/// The last key of a shortcut to come up.
bool endsShortcut(const XEvent& event) {
  return event.kind == XEventKind::keyRelease && event.detail == keycode::control;
}

}  // namespace

/// The editor with an empty document, or the canvas; it has the focus.
class FidelitySession::Application {
 public:
  Application(support::TestDesktop& desktop, bool draws)
      : desktop_(desktop),
        draws_(draws),
        file_(draws ? folder_.path() / "picture" : emptyFile(folder_.path() / "text")),
        process_(
            draws ? std::vector<std::string>{CANVAS_PROGRAM, file_.string()}
                  : std::vector<std::string>{"mousepad", "--disable-server", file_.string()},
            {desktop.server().displayVariable(), "HOME=" + folder_.path().string(),
             "XDG_CONFIG_HOME=" + folder_.path().string(), "LC_ALL=C.UTF-8",
             "GTK_IM_MODULE=gtk-im-context-simple", "GSETTINGS_BACKEND=memory", "NO_AT_BRIDGE=1",
             "XDG_RUNTIME_DIR=" + folder_.path().string(), "QT_SCALE_FACTOR=1"}) {
    if (draws) {
      // Its window has no window manager.
      require(process_.waitForLine("ready", support::generousLimit), "no canvas");
      return;
    }
    require(desktop.waitForWindows(title(), 1), "the editor did not come");
    require(desktop.waitForFocus(title(), 0), "the editor did not get the focus");
  }

  /// True once all events that were sent to it have been processed.
  [[nodiscard]] std::string save() {
    const auto& user = desktop_.user();
    if (draws_) {
      user.tapKey(f2);
      require(eventually([this] { return std::filesystem::exists(file_); }), "no picture");
    } else {
      // The title begins with a star if the text was changed.
      require(desktop_.waitForWindows("*" + title(), 1), "nothing was written");
      user.pressKey(keycode::control);
      user.tapKey(keycode::s);
      user.releaseKey(keycode::control);
      require(desktop_.waitForWindows(title(), 1), "the text was not saved");
    }
    std::ostringstream content;
    content << std::ifstream(file_, std::ios::binary).rdbuf();
    return content.str();
  }

 private:
  [[nodiscard]] std::string title() const { return file_.string() + " - Mousepad"; }

  support::TestDesktop& desktop_;
  bool draws_;
  support::TemporaryFolder folder_;
  std::filesystem::path file_;
  support::ChildProcess process_;
};

FidelitySession::FidelitySession(const SessionPlan& plan)
    : plan_(plan),
      desktop_(serverOptions(plan)),
      observer_(desktop_.server().display()),
      actions_(makeActions(plan)) {
  // The held keys of a session repeat after 0.2 s.
  support::ChildProcess rate(
      {"xset", "-display", desktop_.server().display(), "r", "rate", "200", "30"});
  require(rate.wait(support::generousLimit) == 0, "no rate of repetition");
}

std::unique_ptr<Program> FidelitySession::start(double speed) {
  {
    const auto opened =
        system::SqliteDefaultsStore::open(data_.path() / "tapeloop" / "defaults.sqlite3");
    require(opened.store != nullptr, opened.message);
    const auto set = [&](const char* key, const DefaultsValue& value) {
      require(opened.store->setObjectForKey(value, key) == StoreStatus::stored, key);
    };
    set(recordSlot, std::string(controlOptionR));
    set(playSlot, std::string(controlOptionP));
    set("playbackSpeed", speed);
  }
  auto program = std::make_unique<Program>(desktop_, std::vector<std::string>{}, data_.path());
  require(desktop_.waitForWindows("Tapeloop", 1) && desktop_.waitForFocus("Tapeloop", 0),
          "the window did not come");
  return program;
}

void FidelitySession::strike(std::uint8_t key) const {
  const auto& user = desktop_.user();
  for (const auto each : {keycode::control, keycode::alt, key}) user.pressKey(each);
  for (const auto each : {key, keycode::alt, keycode::control}) user.releaseKey(each);
}

std::vector<Replay> FidelitySession::run() {
  std::vector<Replay> replays;
  auto program = start(plan_.speeds.front());
  record(*program);
  replays.push_back(play(*program, plan_.speeds.front()));
  if (plan_.speeds.size() == 1) return replays;
  require(program->named(Role::button, "Save Recording").press(), "it can't be saved");
  for (std::size_t i = 1; i < plan_.speeds.size(); ++i) {
    require(program->named(Role::button, "Close").press() && program->exitCode() == 0,
            "the program did not end");
    program = start(plan_.speeds[i]);
    require(program->named(Role::button, "Toggle Sidebar").press(), "no library");
    require(program->named(Role::button, "Load Recording").press(), "it can't be loaded");
    (void)program->named(Role::alert, "Recording Loaded");
    replays.push_back(play(*program, plan_.speeds[i]));
    replays.back().isLoaded = true;
  }
  return replays;
}

void FidelitySession::record(Program& program) {
  Application application(desktop_, plan_.draws);
  observer_.clear();
  strike(keycode::r);
  require(program.writes("Recording: true"), "no capture began");
  // The observer may be behind the program.
  const auto hasShortcut = [](const Events& events) {
    return std::ranges::any_of(events, endsShortcut);
  };
  require(observer_.waitUntil(hasShortcut, support::generousLimit), "the shortcut was not seen");
  observer_.clear();
  {
    const auto work = desktop_.user().start(actions_);
    const auto& last = actions_.back();
    const auto isLast = [&](const auto& event) {
      return event.kind == last.kind && event.detail == last.detail;
    };
    const auto wanted = std::ranges::count_if(actions_, isLast);
    const auto isDone = [&](const Events& events) {
      return !events.empty() && isLast(events.back()) &&
             std::ranges::count_if(events, isLast) == wanted;
    };
    const auto end = std::chrono::steady_clock::now() + actions_.back().offset + 60s;
    // Otherwise the program finds its trace without a reader.
    while (!observer_.waitUntil(isDone, 50ms)) {
      (void)program.process().lines();
      require(std::chrono::steady_clock::now() < end, "the session did not end");
    }
  }
  recorded_ = observer_.events();
  strike(keycode::r);
  require(program.writes("Recording: false"), "the capture did not end");
  outcome_ = application.save();
}

Replay FidelitySession::play(Program& program, double speed) {
  Application application(desktop_, plan_.draws);
  const Events wanted = expected();
  observer_.clear();
  strike(keycode::p);
  const auto end = std::chrono::steady_clock::now() + actions_.back().offset / speed + 60s;
  const auto isOver = [&] {
    const auto& lines = program.process().lines();
    return std::ranges::find(lines, "stopped playing") != lines.end();
  };
  while (!isOver()) {
    require(std::chrono::steady_clock::now() < end, "the replay did not end");
    std::this_thread::sleep_for(20ms);
  }
  // The last event may be due at the same moment.
  const auto isComplete = [&](const Events& events) {
    return events.size() >= wanted.size() && relevant(events).size() >= wanted.size();
  };
  (void)observer_.waitUntil(isComplete, 2s);
  Replay replay;
  replay.speed = speed;
  replay.note = firstDifference(relevant(observer_.events()));
  replay.isSameInput = replay.note.empty();
  replay.outcome = application.save();
  replay.isSameOutcome = replay.outcome == outcome_;
  return replay;
}

bool FidelitySession::playBare(double speed) {
  const auto& server = desktop_.server();
  const auto& user = desktop_.user();
  if (support::pointerState(server.display()).modifiers & lockMask) user.tapKey(capsLock);
  Application application(desktop_, plan_.draws);
  std::vector<XAction> actions;
  const auto start = recorded_.front().arrival;
  for (const XEvent& event : recorded_) {
    XAction action{event.kind, event.detail, event.rootX, event.rootY};
    action.offset = std::chrono::nanoseconds(
        static_cast<std::int64_t>(static_cast<double>(event.arrival - start) / speed));
    if (event.repeatOfDownKey) {
      actions.push_back(action);
      actions.back().kind = XEventKind::keyRelease;
    }
    actions.push_back(action);
  }
  support::setRepeatsKeys(server.display(), support::testKeyboard, false);
  support::setRepeatsKeys(server.display(), support::coreKeyboard, false);
  user.run(actions);
  user.sync();
  return application.save() == outcome_;
}

FidelitySession::Events FidelitySession::relevant(Events events) const {
  // The keys of the shortcut come up before a run begins.
  const auto shortcut = std::ranges::find_if(events, endsShortcut);
  if (shortcut != events.end()) events.erase(events.begin(), shortcut + 1);
  const bool draws = plan_.draws;
  std::erase_if(events, [draws](const XEvent& event) {
    return isModifierKey(event) || (draws && event.kind == XEventKind::motion);
  });
  return events;
}

FidelitySession::Events FidelitySession::expected() const {
  Events events;
  for (const XEvent& event : recorded_) {
    if (isModifierKey(event)) continue;
    if (plan_.draws && event.kind == XEventKind::motion) continue;
    events.push_back(event);
    if (!event.repeatOfDownKey) continue;
    // It comes as a release and a press.
    events.back().repeatOfDownKey = false;
    events.push_back(events.back());
    (events.end() - 2)->kind = XEventKind::keyRelease;
  }
  return events;
}

std::string FidelitySession::firstDifference(const Events& replayed) const {
  constexpr std::uint16_t modifiers = 0xff;
  const Events wanted = expected();
  const bool draws = plan_.draws;
  const auto same = [draws](const XEvent& a, const XEvent& b) {
    if (a.kind != b.kind || a.detail != b.detail) return false;
    return draws ? a.rootX == b.rootX && a.rootY == b.rootY
                 : (a.state & modifiers) == (b.state & modifiers);
  };
  const auto [expectedEvent, event] = std::ranges::mismatch(wanted, replayed, same);
  if (expectedEvent == wanted.end() && event == replayed.end()) return {};
  std::ostringstream text;
  text << "event " << expectedEvent - wanted.begin() << " of " << wanted.size() << ": ";
  if (event == replayed.end()) {
    text << "nothing";
  } else {
    text << *event;
  }
  if (expectedEvent != wanted.end()) text << ", not " << *expectedEvent;
  return text.str();
}

}  // namespace tapeloop::bench
