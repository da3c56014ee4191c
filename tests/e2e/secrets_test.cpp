#include "app_fixture.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "web/web_session.h"

#include <glib/gstdio.h>
#include <sys/stat.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

namespace {

// Every regular file below `root`, except under the folders in `skip`.
void filesBelow(const std::string& root, const std::vector<std::string>& skip,
                std::vector<std::string>& out) {
    for (const auto& s : skip)
        if (root == s) return;
    GDir* dir = g_dir_open(root.c_str(), 0, nullptr);
    if (!dir) return;
    while (const char* name = g_dir_read_name(dir)) {
        const std::string path = root + "/" + name;
        if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR))
            filesBelow(path, skip, out);
        else if (g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR))
            out.push_back(path);
    }
    g_dir_close(dir);
}

unsigned modeOf(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? (st.st_mode & 0777) : 0;
}

class Secrets : public AppFixture {
  protected:
    std::vector<std::string> secrets() const {
        std::vector<std::string> all;
        for (const auto* list : {&claude_.issuedSessions(), &cursor_.issuedSessions(),
                                 &chatgpt_.issuedSessions(), &chatgpt_.issuedTokens()})
            all.insert(all.end(), list->begin(), list->end());
        return all;
    }
};

} // namespace

TEST_F(Secrets, NoCookieOrTokenLeavesTheWebEnginesStore) {
    startApp();
    logInEverywhere();
    const auto now = std::chrono::system_clock::now();
    claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(30, now + 2h, 10, now + 72h)));
    for (ProviderID id : allProviders)
        refresh(id);
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
    ASSERT_GE(secrets().size(), 4u);
    ASSERT_NE(log_.find("Direct request → HTTP 200"), std::string::npos) << "the direct route was taken";

    for (const std::string& secret : secrets())
        EXPECT_EQ(log_.find(secret), std::string::npos) << "in the log";

    std::vector<std::string> files;
    filesBelow(dir_.path(), {webDataDir(), webCacheDir()}, files);
    filesBelow(std::string(OSTREL_BUILD_DIR) + "/screenshots", {}, files);
    filesBelow(std::string(OSTREL_BUILD_DIR) + "/e2e", {}, files);
    ASSERT_FALSE(files.empty());
    for (const std::string& file : files) {
        const std::string text = readFile(file);
        for (const std::string& secret : secrets())
            EXPECT_EQ(text.find(secret), std::string::npos) << file;
    }

    EXPECT_EQ(modeOf(webDataDir()), 0700u);
    EXPECT_EQ(modeOf(webCacheDir()), 0700u);
    EXPECT_EQ(modeOf(settingsPath()), 0600u);
}

TEST_F(Secrets, ScriptArgumentsReachThePageAsValues) {
    startApp();
    logInEverywhere();
    claude_.server().route("GET", "/echo",
                           [](const fake::FakeRequest&) { return FakeAnswer::json("{\"ok\":1}"); });
    WebSession& web = core_->session(ProviderID::claude);
    const std::string nasty = R"(a'b"c\d</script><script>alert(1)</script>${x}`)";
    GCharPtr escaped(g_uri_escape_string(nasty.c_str(), nullptr, FALSE));
    const std::string url = claude_.origin() + "/echo?q=" + escaped.get() + "&raw=');alert(1);//";
    ostrel::test::LogCapture capture;
    HttpResult r = runSync(web.get(url, {{"X-Probe", nasty}}), 60s);
    const std::string logged = capture.finish();
    EXPECT_EQ(r.code, 200);
    EXPECT_NE(logged.find("Page fetch → HTTP 200"), std::string::npos) << "the page route carried it";
    const auto seen = claude_.server().requestsTo("/echo");
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].header("x-probe"), nasty);
    GCharPtr query(g_uri_unescape_string(seen[0].query.c_str(), nullptr));
    EXPECT_EQ(std::string(query.get()), "q=" + nasty + "&raw=');alert(1);//");
}
