#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/system/sqlite_defaults_store.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

/// The list of recordings as it is drawn, and what is left in the store.
class LibraryWindowTests : public testing::Test {
 protected:
  TestDesktop desktop;
  TemporaryFolder data;
  const XUser& user = desktop.user();
};

TEST_F(LibraryWindowTests, NothingIsDrawnAboveTheList) {
  std::vector<std::string> titles;
  for (int i = 0; i < 30; ++i) titles.push_back("Title " + std::to_string(i));
  store(data.path(), {{"recordingList", listOf(titles)}});
  Program program(desktop, {}, data.path());
  program.press("Toggle Sidebar");
  const auto heading = program.named(Role::heading, "Saved Recordings").place();
  const auto list = program.named(Role::list, "Saved Recordings").place();
  user.moveTo(list.x + list.width / 2, list.y + list.height / 2);
  ASSERT_TRUE(eventually([&] {
    user.click(5);
    const auto last = program.accessible().find(
        [&](const Element& element) { return element.name() == titles.back(); });
    return last && last->place().y + last->place().height <= list.y + list.height;
  }));
  // Above the border, which is around the list.
  const auto above = [&] {
    std::vector<std::uint32_t> pixels;
    for (int y = heading.y; y < list.y - 10; y += 3) {
      for (int x = list.x; x < list.x + list.width; ++x) pixels.push_back(desktop.pixel(x, y));
    }
    return pixels;
  };
  const auto before = above();
  for (const char* title : {"Title 27", "Title 26"}) {
    const auto row = program.named(Role::listItem, title).place();
    user.moveTo(row.x + row.width - 20, row.y + row.height / 2);
    user.click(1);
    ASSERT_TRUE(program.loses(Role::listItem, title));
  }
  ASSERT_TRUE(program.writes("Delete Recording"));
  EXPECT_EQ(above(), before);
}

TEST_F(LibraryWindowTests, AClickAndReturnLeaveAnyTitleAsItIs) {
  using namespace std::string_literals;
  const std::string list = listOf({std::string(1'000'000, 'x') + " end", "\0zero"s});
  store(data.path(), {{"recordingList", list}});
  Program program(desktop, {}, data.path());
  program.press("Toggle Sidebar");
  std::vector<Element> fields;
  (void)program.accessible().find([&](const Element& element) {
    if (element.role() == Role::text) fields.push_back(element);
    return false;
  });
  ASSERT_EQ(fields.size(), 2U);
  EXPECT_TRUE(fields[0].text().ends_with("x end"));
  EXPECT_EQ(fields[1].text(), "␀zero");
  for (const auto& field : fields) {
    program.process().clearLines();
    program.click(field);
    ASSERT_TRUE(eventually([&] { return field.is(State::focused); }));
    user.tapKey("Return");
    ASSERT_TRUE(program.writes("Saving name."));
  }
  user.tapKey("End");
  user.tapKey("a");
  program.process().clearLines();
  user.tapKey("Return");
  ASSERT_TRUE(program.writes("Saving name."));
  const auto opened = system::SqliteDefaultsStore::open(data.path() / "tapeloop/defaults.sqlite3");
  ASSERT_TRUE(opened.store);
  std::string edited = list;
  edited.insert(edited.rfind("zero") + 4, "a");
  EXPECT_EQ(opened.store->objectForKey("recordingList"), DefaultsValue(edited));
}

}  // namespace
}  // namespace tapeloop::support
