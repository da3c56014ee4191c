// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/page_result.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

TEST(PageResult, ReadsTheAnswerAndRefusesAnythingElse) {
    const HttpResult r =
        readPageResult(R"({"code":503,"body":"<html></html>","retryAfter":" 120 ","mitigated":"challenge"})");
    EXPECT_EQ(r.code, 503);
    EXPECT_EQ(r.body, "<html></html>");
    EXPECT_EQ(r.retryAfter, 120s);
    EXPECT_TRUE(r.challenge);
    const HttpResult plain = readPageResult(R"({"code":200,"body":"{}","retryAfter":null,"mitigated":null})");
    EXPECT_EQ(plain.retryAfter, std::nullopt);
    EXPECT_FALSE(plain.challenge);

    const auto refusal = [](const char* text) -> std::string {
        try {
            readPageResult(text);
        } catch (const WebError& e) {
            return e.what();
        }
        return "read";
    };
    EXPECT_EQ(refusal(R"({"code":-1,"body":"TypeError: Load failed"})"), "TypeError: Load failed")
        << "the page's own failure carries its reason";
    for (const char* text : {R"({"code":200,"bo)", R"([200,"body"])", R"({"code":"200","body":""})",
                             R"({"code":200,"body":null})", R"({"code":0,"body":""})",
                             R"({"code":1e300,"body":""})",       // no int holds it
                             R"({"code":4294967496,"body":""})"}) // would wrap to 200
        EXPECT_EQ(refusal(text), "Unexpected result from page") << text;

    // An answer a redirect fetched from another host is that host's, not the service's.
    EXPECT_EQ(
        readPageResult(R"({"code":200,"body":"{}","url":"http://127.0.0.2:8080/api/x"})", "127.0.0.2").code,
        200);
    try {
        readPageResult(R"({"code":200,"body":"{}","url":"http://127.0.0.9:8080/collect"})", "127.0.0.2");
        ADD_FAILURE() << "another host's answer was read";
    } catch (const WebError& e) {
        EXPECT_STREQ(e.what(), "Redirected to another host: 127.0.0.9");
    }
}
