// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/gobject_ptr.h"
#include "model/autostart.h"
#include "support/test_env.h"

#include <glib/gstdio.h>
#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;

namespace {
// The program a session starts from the entry: Exec unescaped as desktop entries are ('%%', then
// shell-like quoting), which must give back exactly one argument.
std::string startedProgram(const std::string& path) {
    GKeyFilePtr file(g_key_file_new());
    g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr);
    GCharPtr exec(g_key_file_get_string(file.get(), "Desktop Entry", "Exec", nullptr));
    std::string line = exec ? exec.get() : "";
    for (auto at = line.find("%%"); at != std::string::npos; at = line.find("%%", at + 1))
        line.erase(at, 1);
    gint argc = 0;
    gchar** argv = nullptr;
    if (!g_shell_parse_argv(line.c_str(), &argc, &argv, nullptr)) return "unparsable: " + line;
    GStrvPtr owned(argv);
    return argc == 1 ? argv[0] : "several arguments: " + line;
}
} // namespace

TEST(Autostart, OnWritesAnEntryThatStartsTheProgramOffRemovesIt) {
    TempDir dir;
    for (const std::string program : {"/usr/bin/ostrel", "/home/a b/it's 100%/$HOME\\\"ostrel\""}) {
        Autostart autostart(dir.file("config/autostart"), program);
        EXPECT_FALSE(autostart.enabled());
        ASSERT_EQ(autostart.setEnabled(true), std::nullopt);
        EXPECT_TRUE(autostart.enabled());
        EXPECT_EQ(startedProgram(autostart.path()), program);
        GStatBuf st;
        ASSERT_EQ(g_stat(dir.file("config/autostart").c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 0777, 0700u) << "a folder we create is the user's alone";

        ASSERT_EQ(autostart.setEnabled(false), std::nullopt);
        EXPECT_FALSE(g_file_test(autostart.path().c_str(), G_FILE_TEST_EXISTS));
        EXPECT_EQ(autostart.setEnabled(false), std::nullopt) << "already off is not a failure";
    }
}

TEST(Autostart, ReadsWhatOtherProgramsLeftThere) {
    TempDir dir;
    Autostart autostart(dir.path(), "/usr/bin/ostrel");
    const std::string head = "[Desktop Entry]\nType=Application\nName=Ostrel\nExec=ostrel\n";
    for (const auto& [body, on] : {std::pair{head, true},
                                   {head + "Hidden=true\n", false},
                                   {head + "X-GNOME-Autostart-enabled=false\n", false},
                                   {std::string("not a desktop entry\n"), false}}) {
        writeFile(autostart.path(), body);
        EXPECT_EQ(autostart.enabled(), on) << body;
    }
}

TEST(Autostart, FailuresSaySoAndLeaveWhatWasThere) {
    TempDir dir;
    writeFile(dir.file("autostart"), "x"); // a file where the folder should be
    const auto noFolder = Autostart(dir.file("autostart"), "ostrel").setEnabled(true);
    ASSERT_TRUE(noFolder);
    EXPECT_NE(noFolder->find("could not be created"), std::string::npos) << *noFolder;
    EXPECT_EQ(readFile(dir.file("autostart")), "x");

    Autostart blocked(dir.file("other"), "ostrel"); // a folder, not empty, where the entry should be
    g_mkdir_with_parents((blocked.path() + "/keep").c_str(), 0700);
    const auto off = blocked.setEnabled(false);
    ASSERT_TRUE(off);
    EXPECT_NE(off->find("could not be removed"), std::string::npos) << *off;
    EXPECT_TRUE(g_file_test((blocked.path() + "/keep").c_str(), G_FILE_TEST_IS_DIR));
}

TEST(Autostart, PointsAtTheInstalledBinaryElseTheRunningOne) {
    TempDir dir;
    const std::string installed = dir.file("ostrel");
    EXPECT_EQ(autostartProgram(installed, "/build/ostrel"), "/build/ostrel") << "not installed";
    writeFile(installed, "#!/bin/sh\n");
    g_chmod(installed.c_str(), 0755);
    EXPECT_EQ(autostartProgram(installed, "/build/ostrel"), installed);
    EXPECT_TRUE(runningBinary().ends_with("/model_tests")) << runningBinary();
}
