#include "model/app_settings.h"
#include "support/log_lines.h"
#include "support/test_env.h"

#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace ostrel;
using ostrel::test::readFile;
using ostrel::test::TempDir;
using ostrel::test::writeFile;

namespace {
const ProviderSet all{ProviderID::claude, ProviderID::cursor, ProviderID::codex};

std::string settingsFile(const TempDir& dir) {
    return dir.file("ostrel/settings.ini");
}

void store(const TempDir& dir, const std::string& body) {
    g_mkdir_with_parents(dir.file("ostrel").c_str(), 0700);
    writeFile(settingsFile(dir), body);
}
} // namespace

TEST(AppSettings, StoredValuesLoadWithUnknownNamesDroppedAndEmptyListsKept) {
    TempDir dir;
    store(dir, "# kept\n[Ostrel]\ngaugeTheme=candle\nenabledProviders=codex;gemini;\nresetTimeProviders=\n"
               "selectedProvider=codex\ntrayItems=label\n[Other]\nx=1\n");
    AppSettings s(settingsFile(dir));
    EXPECT_EQ(s.theme(), GaugeTheme::candle);
    EXPECT_EQ(s.enabled(), ProviderSet{ProviderID::codex});
    EXPECT_TRUE(s.resetTimeShown().empty()) << "a stored empty list is not the default";
    EXPECT_EQ(s.selectedProvider(), "codex");
    EXPECT_EQ(s.trayLayout(), TrayLayout::label);
    s.setProviderEnabled(ProviderID::claude, true);
    const std::string text = readFile(settingsFile(dir));
    EXPECT_NE(text.find("# kept"), std::string::npos) << "what else the file holds survives a save";
    EXPECT_NE(text.find("[Other]"), std::string::npos);
}

TEST(AppSettings, EveryAssignmentIsSavedAtOnceAndSignalled) {
    TempDir dir;
    const std::string path = settingsFile(dir);
    {
        AppSettings s(path);
        int changes = 0, enabledChanges = 0;
        s.changed.connect([&] { ++changes; });
        s.enabledChanged.connect([&] { ++enabledChanges; });
        s.setProviderEnabled(ProviderID::cursor, false);
        EXPECT_EQ(AppSettings(path).enabled(), (ProviderSet{ProviderID::claude, ProviderID::codex}))
            << "saved before the next read, not at exit";
        s.setTheme(GaugeTheme::hearts);
        s.setResetTimeShown(ProviderID::codex, true);
        s.setSelectedProvider("cursor");
        s.setTrayLayout(TrayLayout::perService);
        EXPECT_EQ(changes, 5);
        EXPECT_EQ(enabledChanges, 1);
        s.setEnabled({});
    }
    AppSettings again(path);
    EXPECT_EQ(again.theme(), GaugeTheme::hearts);
    EXPECT_TRUE(again.enabled().empty()) << "all services may be off";
    EXPECT_EQ(again.resetTimeShown(), (ProviderSet{ProviderID::claude, ProviderID::codex}));
    EXPECT_EQ(again.selectedProvider(), "cursor");
    EXPECT_EQ(again.trayLayout(), TrayLayout::perService);
    struct stat st {};
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST(AppSettings, CorruptFileGivesDefaultsAndIsKeptUntilTheUserChangesSomething) {
    TempDir dir;
    const std::string junk = "\x01\x02 this is [[[ not a key file\nenabledProviders\n";
    store(dir, junk);
    {
        test::LogLines log;
        AppSettings s(settingsFile(dir));
        EXPECT_EQ(log.take().size(), 1u) << "one line says why the file was not used";
        EXPECT_EQ(s.enabled(), all);
        EXPECT_EQ(readFile(settingsFile(dir)), junk) << "loading never rewrites the file";
        s.setTheme(GaugeTheme::meter);
    }
    EXPECT_EQ(readFile(settingsFile(dir) + ".bad"), junk);
    EXPECT_EQ(AppSettings(settingsFile(dir)).theme(), GaugeTheme::meter);
}

TEST(AppSettings, FolderThatIsAFileWarnsAndKeepsWorking) {
    // Works for root too: nothing can create a folder where a file stands.
    TempDir dir;
    writeFile(dir.file("ostrel"), "not a folder");
    AppSettings s(settingsFile(dir));
    test::LogLines log;
    s.setProviderEnabled(ProviderID::codex, false);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("not saved"), std::string::npos) << log.lines()[0];
    EXPECT_FALSE(s.isEnabled(ProviderID::codex));
}

TEST(AppSettings, OneUnreadableValueCostsOnlyItsOwnKeyAndSaysSo) {
    TempDir dir;
    store(dir, "[Ostrel]\ngaugeTheme=candle\nenabledProviders=claude;co\\qdex;\nselectedProvider=\xff\xfe\n"
               "resetTimeProviders=codex;\n");
    test::LogLines log;
    AppSettings s(settingsFile(dir));
    EXPECT_EQ(s.enabled(), all) << "a stray backslash must not turn every service off";
    EXPECT_EQ(s.theme(), GaugeTheme::candle);
    EXPECT_EQ(s.resetTimeShown(), ProviderSet{ProviderID::codex});
    EXPECT_EQ(s.selectedProvider(), "claude");
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find("enabledProviders"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("selectedProvider"), std::string::npos) << lines[1];
}

// Dotfile managers keep the real file elsewhere and link it into place; a save must not turn the
// link into a file of its own.
TEST(AppSettings, ASymlinkedFileIsWrittenThroughItsLink) {
    TempDir dir;
    g_mkdir_with_parents(dir.file("dotfiles").c_str(), 0700);
    g_mkdir_with_parents(dir.file("ostrel").c_str(), 0700);
    writeFile(dir.file("dotfiles/settings.ini"), "[Ostrel]\ngaugeTheme=candle\n");
    ASSERT_EQ(symlink("../dotfiles/settings.ini", settingsFile(dir).c_str()), 0);
    AppSettings s(settingsFile(dir));
    EXPECT_EQ(s.theme(), GaugeTheme::candle);
    s.setTheme(GaugeTheme::hearts);
    EXPECT_TRUE(g_file_test(settingsFile(dir).c_str(), G_FILE_TEST_IS_SYMLINK)) << "still a link";
    EXPECT_EQ(AppSettings(dir.file("dotfiles/settings.ini")).theme(), GaugeTheme::hearts);
}

// The base-directory rules: a relative $XDG_CONFIG_HOME is ignored, else the settings (and the
// autostart entry beside them) would land under whatever folder the app was started from.
TEST(AppSettings, ARelativeConfigHomeIsIgnored) {
    TempDir dir;
    struct Env {
        const char* name;
        std::optional<std::string> was;
        Env(const char* n, const std::string& value) : name(n) {
            if (const char* v = g_getenv(n)) was = v;
            g_setenv(n, value.c_str(), TRUE);
        }
        ~Env() { was ? void(g_setenv(name, was->c_str(), TRUE)) : g_unsetenv(name); }
    };
    const Env home("HOME", dir.path());
    {
        const Env config("XDG_CONFIG_HOME", "relative/config");
        EXPECT_EQ(defaultSettingsPath(), dir.file(".config/ostrel/settings.ini"));
    }
    const Env config("XDG_CONFIG_HOME", dir.file("elsewhere"));
    EXPECT_EQ(defaultSettingsPath(), dir.file("elsewhere/ostrel/settings.ini"));
}
