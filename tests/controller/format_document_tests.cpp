#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "controller/library_fixture.h"
#include "controller/shortcut_slots.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::Pair;

/// The blocks of the document that are marked as JSON.
std::vector<std::string> examples() {
  std::ifstream document(TAPELOOP_FORMAT_DOCUMENT);
  const std::string text(std::istreambuf_iterator<char>(document), {});
  const std::regex block("```json\n([^`]*)```");
  return {std::sregex_token_iterator(text.begin(), text.end(), block, 1), {}};
}

using FormatDocument = LibraryTest;

// Others write recordings by it.
TEST_F(FormatDocument, HasExamplesThatLoadAndPlay) {
  const auto blocks = examples();
  ASSERT_EQ(blocks.size(), 2U);
  storeText(blocks[0]);
  const auto wrote =
      desktop.defaults.setObjectForKey(blocks[1], "KeyboardShortcuts_" + recordShortcut.rawValue);
  ASSERT_EQ(wrote, StoreStatus::stored);
  open();
  openSidebar();
  EXPECT_THAT(shownNames(), ElementsAre("Greeting"));

  view->loadButtonPressed(0);
  view->playButtonPressed();
  advance(10);
  EXPECT_THAT(posted(),
              ElementsAre(Pair(EventType::mouseMoved, 0), Pair(EventType::leftMouseDown, 0.25),
                          Pair(EventType::leftMouseUp, 0.375), Pair(EventType::scrollWheel, 0.75),
                          Pair(EventType::keyDown, 1.25), Pair(EventType::keyUp, 1.375)));
  const auto& events = desktop.eventSynthesis.posted();
  EXPECT_EQ(events[0].event.position, (Point{640, 900 - 400}));
  EXPECT_EQ(events[3].event.wheel1, -10);
  EXPECT_EQ(keyWithCode(events[4].event.keyCode), Key::h);
  EXPECT_EQ(events[4].event.flags, modifier_flag::shift);

  const auto shortcut = view->keyboardShortcuts().shortcut(recordShortcut);
  EXPECT_EQ(shortcut, (Shortcut{virtualKey(Key::r), controlKey | optionKey}));
}

}  // namespace
}  // namespace tapeloop
