// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/gobject_ptr.h"
#include "model/autostart.h"
#include "support/test_env.h"

#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace ostrel;
using ostrel::test::fileExists;
using ostrel::test::readFile;
using ostrel::test::TempDir;
using ostrel::test::writeFile;

namespace {
constexpr const char* entryGroup = "Desktop Entry";

// The program a session would start from the entry: the Exec line unescaped the way the desktop
// entry rules say (key-file escapes, then '%%', then shell-like quoting).
std::string startedProgram(const std::string& path) {
    GKeyFilePtr file(g_key_file_new());
    if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return "unreadable";
    GCharPtr exec(g_key_file_get_string(file.get(), entryGroup, "Exec", nullptr));
    std::string line = exec ? exec.get() : "";
    for (std::size_t at = line.find("%%"); at != std::string::npos; at = line.find("%%", at + 1))
        line.erase(at, 1);
    gint argc = 0;
    gchar** argv = nullptr;
    if (!g_shell_parse_argv(line.c_str(), &argc, &argv, nullptr)) return "unparsable: " + line;
    GStrvPtr owned(argv);
    return argc == 1 ? argv[0] : "more than one argument: " + line;
}

unsigned modeOf(const std::string& path) {
    GStatBuf st;
    return g_stat(path.c_str(), &st) == 0 ? st.st_mode & 0777 : 0;
}
} // namespace

TEST(Autostart, TurningOnWritesAnEntryThatStartsTheProgramAndOffRemovesIt) {
    TempDir dir;
    for (const std::string program : {"/usr/bin/ostrel", "/home/a b/it's 100%/$HOME\\\"ostrel\""}) {
        Autostart autostart(dir.file("config/autostart"), program);
        EXPECT_FALSE(autostart.enabled()) << "nothing there yet";
        ASSERT_EQ(autostart.setEnabled(true), std::nullopt);
        EXPECT_TRUE(autostart.enabled());
        EXPECT_EQ(startedProgram(autostart.path()), program);
        EXPECT_NE(readFile(autostart.path()).find("\nX-GNOME-Autostart-enabled=true\n"), std::string::npos);
        EXPECT_EQ(modeOf(dir.file("config/autostart")), 0700u) << "a folder we create is the user's alone";

        ASSERT_EQ(autostart.setEnabled(false), std::nullopt);
        EXPECT_FALSE(fileExists(autostart.path()));
        EXPECT_FALSE(autostart.enabled());
        EXPECT_EQ(autostart.setEnabled(false), std::nullopt) << "already off is not a failure";
    }
}

TEST(Autostart, ReadsWhatOtherProgramsLeftThere) {
    TempDir dir;
    Autostart autostart(dir.path(), "/usr/bin/ostrel");
    const std::string head = "[Desktop Entry]\nType=Application\nName=Ostrel\nExec=ostrel\n";
    const std::pair<std::string, bool> cases[] = {
        {head, true},
        {head + "Hidden=false\n", true},
        {head + "Hidden=true\n", false},
        {head + "X-GNOME-Autostart-enabled=false\n", false},
        {"not a desktop entry\n", false},
    };
    for (const auto& [body, on] : cases) {
        writeFile(autostart.path(), body);
        EXPECT_EQ(autostart.enabled(), on) << body;
    }

    // Turning on over an entry hidden elsewhere makes it start again.
    writeFile(autostart.path(), head + "Hidden=true\n");
    ASSERT_EQ(autostart.setEnabled(true), std::nullopt);
    EXPECT_TRUE(autostart.enabled());
}

TEST(Autostart, FailuresSaySoAndLeaveTheEntryAsItWas) {
    TempDir dir;
    // The folder cannot be made: a file is in its place.
    writeFile(dir.file("autostart"), "x");
    Autostart blocked(dir.file("autostart"), "/usr/bin/ostrel");
    const auto noFolder = blocked.setEnabled(true);
    ASSERT_TRUE(noFolder);
    EXPECT_NE(noFolder->find("could not be created"), std::string::npos) << *noFolder;
    EXPECT_EQ(readFile(dir.file("autostart")), "x");

    // The entry's place is taken by a folder that is not empty: neither writing nor removing works.
    Autostart autostart(dir.file("other"), "/usr/bin/ostrel");
    g_mkdir_with_parents((autostart.path() + "/keep").c_str(), 0700);
    const auto on = autostart.setEnabled(true);
    ASSERT_TRUE(on);
    EXPECT_NE(on->find("Could not turn on start at login"), std::string::npos) << *on;
    const auto off = autostart.setEnabled(false);
    ASSERT_TRUE(off);
    EXPECT_NE(off->find("could not be removed"), std::string::npos) << *off;
    EXPECT_TRUE(fileExists(autostart.path() + "/keep"));
    EXPECT_FALSE(autostart.enabled());
}

TEST(Autostart, PointsAtTheInstalledBinaryElseTheRunningOne) {
    TempDir dir;
    const std::string installed = dir.file("ostrel");
    EXPECT_EQ(autostartProgram(installed, "/build/ostrel"), "/build/ostrel") << "not installed";
    writeFile(installed, "#!/bin/sh\n");
    EXPECT_EQ(autostartProgram(installed, "/build/ostrel"), "/build/ostrel") << "not executable";
    g_chmod(installed.c_str(), 0755);
    EXPECT_EQ(autostartProgram(installed, "/build/ostrel"), installed);

    const std::string running = runningBinary();
    EXPECT_TRUE(g_path_is_absolute(running.c_str())) << running;
    EXPECT_TRUE(g_file_test(running.c_str(), G_FILE_TEST_IS_EXECUTABLE)) << running;

    // Settings kept elsewhere (the demo, tests) keep their autostart entry beside them.
    EXPECT_EQ(autostartFolderFor(dir.file("settings.ini")), dir.file("autostart"));
}
