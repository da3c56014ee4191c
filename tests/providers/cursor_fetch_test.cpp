#include "async/loop.h"
#include "providers/cursor_provider.h"
#include "scripted_web.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

class CursorFetch : public ScriptedProviderTest<CursorProvider> {
  protected:
    CursorFetch() : ScriptedProviderTest("cursor.test") {}
};

} // namespace

TEST_F(CursorFetch, StatusesAndBodies) {
    // A sign-in page, a challenge or anything but a JSON object means the session is gone.
    for (const char* body : {"<!DOCTYPE html><html>Sign in</html>", "[]", "null", ""}) {
        web->answer(200, body);
        EXPECT_EQ(fetchError(), "Not logged in") << body;
    }
    for (int code : {401, 403}) {
        web->answer(code, "{}");
        EXPECT_EQ(fetchError(), "Not logged in") << code;
    }
    web->answer(500, "{}");
    EXPECT_EQ(fetchError(), "HTTP 500 from cursor.test");
    web->answer(404, "");
    EXPECT_EQ(fetchError(), "HTTP 404 from cursor.test");
    web->answerWith([](const ScriptedWeb::Call&) -> HttpResult { throw WebError("Page: a | Direct: b"); });
    EXPECT_EQ(fetchError(), "Page: a | Direct: b");
    // Without the session cookie there is no login; a store that cannot be read is no answer at all,
    // so the model keeps the login and the numbers.
    web->hasCookieResult = false;
    EXPECT_EQ(fetchError(), "Not logged in");
    web->hasCookieResult = true;
    web->cookieStoreFails = true;
    EXPECT_EQ(fetchError(), "Could not read the cookie store");
    web->cookieStoreFails = false;
    // A JSON object without the expected members is an answer, not an error.
    web->answer(200, R"({"membershipType":"free"})");
    EXPECT_EQ(fetch().message, "Free plan: no included usage to track");
}
