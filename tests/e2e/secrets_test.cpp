#include "app_fixture.h"
#include "support/loop.h"
#include "web/web_session.h"

#include <filesystem>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;
namespace fs = std::filesystem;

namespace {

unsigned modeOf(const std::string& path) {
    return static_cast<unsigned>(fs::status(path).permissions() & fs::perms::all);
}

class Secrets : public AppFixture {};

} // namespace

TEST_F(Secrets, NoCookieOrTokenLeavesTheWebEnginesStore) {
    startApp();
    logInEverywhere();
    for (ProviderID id : allProviders) { // each service's own route on the real engine works
        refresh(id);
        EXPECT_EQ(model().state(id).status.rfind("Updated ", 0), 0u) << model().state(id).status;
    }
    // The direct route too, and failures, whose messages quote what went wrong.
    webkit_web_view_load_uri(core_->session(ProviderID::claude).webView(),
                             (claude_.origin() + "/broken").c_str());
    test::pump(500ms);
    refresh(ProviderID::claude);
    chatgpt_.rejectNextUsage(2);
    refresh(ProviderID::codex);
    cursor_.setUsageAnswer(FakeAnswer::json("{}", 500));
    refresh(ProviderID::cursor);
    core_->settings().setTheme(GaugeTheme::plant);
    ASSERT_NE(log_.text().find("Direct request → HTTP 200"), std::string::npos)
        << "the direct route was taken";

    std::vector<std::string> secrets;
    for (const auto* list : {&claude_.issuedSessions(), &cursor_.issuedSessions(), &chatgpt_.issuedSessions(),
                             &chatgpt_.issuedTokens()})
        secrets.insert(secrets.end(), list->begin(), list->end());
    ASSERT_GE(secrets.size(), 4u);
    // The log, and every file of ours: the app's folders but the web engine's store, and the pictures
    // and records the tests leave in the build folder.
    std::vector<std::string> files;
    for (const std::string& root : {dir_.path(), std::string(OSTREL_BUILD_DIR) + "/screenshots",
                                    std::string(OSTREL_BUILD_DIR) + "/e2e"}) {
        if (!fs::exists(root)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const std::string path = entry.path().string();
            if (entry.is_regular_file() && path.rfind(webDataDir(), 0) != 0 &&
                path.rfind(webCacheDir(), 0) != 0)
                files.push_back(path);
        }
    }
    ASSERT_FALSE(files.empty());
    for (const std::string& secret : secrets)
        EXPECT_EQ(log_.text().find(secret), std::string::npos) << "in the log";
    for (const std::string& file : files)
        for (const std::string text = readFile(file); const std::string& secret : secrets)
            EXPECT_EQ(text.find(secret), std::string::npos) << file;

    EXPECT_EQ(modeOf(webDataDir()), 0700u);
    EXPECT_EQ(modeOf(webCacheDir()), 0700u);
    EXPECT_EQ(modeOf(settingsPath()), 0600u);
}
