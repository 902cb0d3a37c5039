#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// Unpacked: what goes to / is here, and the control file in DEBIAN/.
const fs::path package(PACKAGE);

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream) << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string output(const std::vector<std::string>& command) {
  ChildProcess process(command);
  EXPECT_EQ(process.wait(generousLimit), 0) << command[0];
  std::string text;
  for (const auto& line : process.lines()) text += line + '\n';
  return text;
}

/// The value in "name: value" or "name=value".
std::string field(const std::string& text, const std::string& name) {
  const std::regex pattern("(^|\n)" + name + "(: |=)(.*)");
  std::smatch match;
  return std::regex_search(text, match, pattern) ? match[3].str() : std::string();
}

std::string control() {
  return contents(package / "DEBIAN/control");
}

std::string desktopEntry() {
  return contents(package / "usr/share/applications/io.tapeloop.Tapeloop.desktop");
}

TEST(PackageTests, EveryQmlModuleThatIsImportedIsADependency) {
  const std::string depends = field(control(), "Depends");
  const std::string imports =
      output({QML_IMPORT_SCANNER, "-rootPath", QML_SOURCES, "-importPath", QML_MODULES});
  const std::regex path("\"path\": \"(" QML_MODULES "[^\"]*)\"");
  int found = 0;
  for (std::sregex_iterator match(imports.begin(), imports.end(), path), end; match != end;
       ++match, ++found) {
    const std::string owner = output({"dpkg-query", "--search", (*match)[1].str() + "/qmldir"});
    EXPECT_THAT(depends + ',', HasSubstr(owner.substr(0, owner.find(':')) + ','));
  }
  EXPECT_GT(found, 3);
  EXPECT_THAT(depends, HasSubstr("libqt6svg6")) << "libraries are found, too";
}

TEST(PackageTests, TheDesktopEntryLeadsToTheProgramAndItsIcons) {
  const std::string entry = desktopEntry();
  const auto program = package / "usr/bin" / field(entry, "TryExec");
  ASSERT_TRUE(fs::is_regular_file(program));
  EXPECT_EQ(fs::status(program).permissions(), fs::perms(0755));

  const auto icons = package / "usr/share/icons/hicolor";
  const std::string name = field(entry, "Icon");
  EXPECT_TRUE(fs::exists(icons / "scalable/apps" / (name + ".svg")));
  std::vector<std::string> command{"file", "--brief"};
  std::string expected;
  for (const char* size : {"16", "22", "24", "32", "48", "64", "128", "256", "512"}) {
    command.push_back(icons / (std::string(size) + 'x' + size) / "apps" / (name + ".png"));
    expected += std::string("PNG image data, ") + size + " x " + size + ", 8-bit/color RGBA, " +
                "non-interlaced\n";
  }
  EXPECT_EQ(output(command), expected);
}

TEST(PackageTests, OneVersionIsEverywhere) {
  const std::string packageVersion = field(control(), "Version");
  const std::string version = packageVersion.substr(0, packageVersion.find("+unreleased"));
  ASSERT_FALSE(version.empty());
  const auto share = package / "usr/share";
  EXPECT_THAT(contents(share / "metainfo/io.tapeloop.Tapeloop.metainfo.xml"),
              HasSubstr("<releases>\n    <release version=\"" + version + "\""));
  EXPECT_THAT(output({"zcat", share / "man/man1/tapeloop.1.gz"}),
              HasSubstr("\"Tapeloop " + version + "\""));
  EXPECT_TRUE(output({"zcat", share / "doc/tapeloop/changelog.gz"})
                  .starts_with("tapeloop (" + packageVersion + ") "));

  TestDesktop desktop;
  Program program(desktop);
  program.press("Menu");
  ASSERT_TRUE(program.named(Role::menuItem, "About Tapeloop").press());
  (void)program.named(Role::label, "Version " + version);
}

TEST(PackageTests, TheUnpackedProgramShowsWhatLiesBesideIt) {
  const auto texts = package / "usr/share/tapeloop/KeyboardShortcuts_KeyboardShortcuts.bundle" /
                     "en.lproj/Localizable.strings";
  const std::string original = contents(texts);
  std::ofstream(texts) << "\"record_shortcut\" = \"Out of the Package\";\n";
  const TemporaryFolder commands;
  const auto browser = commands.path() / "xdg-open";
  std::ofstream(browser) << "#!/bin/sh\necho \"opened: $1\"\n";
  fs::permissions(browser, fs::perms::owner_all);

  TestDesktop desktop;
  Program program(
      desktop, {}, std::nullopt,
      {"sh", "-c", "PATH=" + commands.path().string() + ":$PATH exec \"$@\"", "with browser"});
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  EXPECT_THAT(
      output({"xprop", "-display", desktop.server().display(), "-name", "Tapeloop", "WM_CLASS"}),
      HasSubstr('"' + field(desktopEntry(), "StartupWMClass") + "\"\n"))
      << "by which a desktop finds the entry of a window";

  program.press("Information");
  program.press("Privacy Policy");
  EXPECT_TRUE(program.writes("opened: file://" +
                             (package / "usr/share/tapeloop/privacy-policy.html").string()));
  program.press("Settings");
  EXPECT_TRUE(program.says("Record Shortcut", "Out of the Package"));
  std::ofstream(texts) << original;
}

}  // namespace
}  // namespace tapeloop::support
