#include "async/loop.h"
#include "providers/cursor_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;

using CursorFetch = ScriptedProviderTest<CursorProvider>;

TEST_F(CursorFetch, StatusesAndBodies) {
    const std::pair<HttpResult, std::string> rows[] = {
        // A 200 that is not the usage summary (the app shell while the site deploys) says nothing
        // about the login the cookie vouches for: not a log-out.
        {http(200, "<!DOCTYPE html><html><div id=\"root\"></div></html>"),
         "Unexpected response from service.test"},
        {http(200, "[]"), "Unexpected response from service.test"},
        {http(200, R"({"error":"maintenance"})"), "Unexpected response from service.test"},
        {http(401, "{}"), "Not logged in"},
        {http(403, "{}"), "Not logged in"},
        {http(500, "{}"), "HTTP 500 from service.test"},
        // A JSON object without the expected members is an answer, not an error.
        {http(200, R"({"membershipType":"free"})"), "no error"},
    };
    for (const auto& [answer, error] : rows)
        EXPECT_EQ(fetchWith({answer}), error) << answer.code << answer.body;
    // Without the session cookie there is no login, and nothing is asked; a store that cannot be
    // read is no answer at all, so the model keeps the login and the numbers.
    web->hasCookieResult = false;
    EXPECT_EQ(fetchWith({}), "Not logged in");
    web->hasCookieResult = true;
    web->cookieStoreFails = true;
    EXPECT_EQ(fetchWith({}), "Could not read the cookie store");
}
