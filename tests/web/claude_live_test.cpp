#include "fake_claude.h"
#include "providers/claude_provider.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "web_fixture.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;
using fake::FakeClaude;

TEST_F(WebFixture, ClaudeProviderReadsTheFakeServiceThroughTheRealEngine) {
    FakeClaude claude;
    SystemClock clock;
    auto session =
        std::make_unique<WebSession>(*context_, claude.host(), claude.origin() + "/settings/usage");
    WebSession& web = *session;
    ClaudeProvider provider(std::move(session), *ServiceEndpoint::parse(claude.origin()), clock);
    ostrel::test::LogCapture capture;

    // Logged out: the organizations endpoint refuses, so the provider asks for a login.
    EXPECT_THROW(runSync(provider.fetch(), 60s), ProviderError);

    logInThroughForm(web, provider.loginURL(), FakeClaude::cookieName);
    const auto now = std::chrono::system_clock::now();
    claude.setUsageAnswer(FakeAnswer::json(FakeClaude::usageJson(25, now + 90min, 60, now + 48h)));
    const UsageSnapshot s = runSync(provider.fetch(), 60s);
    ASSERT_TRUE(s.main);
    EXPECT_EQ(s.main->title, "5-Hour Session");
    EXPECT_EQ(s.main->percentLeft(), 75);
    ASSERT_EQ(s.others.size(), 1u);
    EXPECT_EQ(s.others[0].title, "Weekly Limit");
    EXPECT_EQ(s.others[0].percentLeft(), 40);

    // The service ends the session: the next fetch reports it and forgets the organization.
    claude.expireSessions();
    EXPECT_THROW(runSync(provider.fetch(), 60s), ProviderError);
    EXPECT_FALSE(provider.usageURL());
    const std::string logged = capture.finish();
    for (const auto& token : claude.issuedSessions())
        EXPECT_EQ(logged.find(token), std::string::npos);
}
