#include "web/domain_match.h"
#include "web/url_rules.h"

#include <gtest/gtest.h>
#include <string_view>

using ostrel::domainMatches;

TEST(DomainMatch, TheHostItsDotFormAndRealSubDomainsOnly) {
    struct Case {
        std::string_view name;
        std::string_view host;
        bool matches;
    };
    const Case cases[] = {
        {"claude.ai", "claude.ai", true},
        {".claude.ai", "claude.ai", true},    // a cookie set for the whole domain
        {"api.claude.ai", "claude.ai", true}, // a real sub-domain
        {"notclaude.ai", "claude.ai", false}, // ends in the same letters: someone else's
        {"claude.ai.evil.test", "claude.ai", false},
        {"ai", "claude.ai", false},        // a parent is not ours
        {"claude.ai", "", false},          // no host owns nothing
        {"Claude.ai", "claude.ai", false}, // the engine gives names in lower case
    };
    for (const Case& c : cases)
        EXPECT_EQ(domainMatches(c.name, c.host), c.matches) << c.name << " for " << c.host;
}

// A Secure cookie goes over https only; loopback addresses, where the stand-in services answer over
// plain http, count as secure, as in browsers. Look-alikes of loopback do not.
TEST(UrlRules, SecureCookiesGoOverHttpsOrToLoopbackOnly) {
    struct Case {
        bool secure;
        std::string_view scheme;
        std::string_view host;
        bool goes;
    };
    const Case cases[] = {
        {true, "https", "claude.ai", true},
        {true, "http", "claude.ai", false},
        {false, "http", "claude.ai", true}, // a cookie that asked for no such care
        {true, "HTTPS", "claude.ai", true},
        {true, "http", "127.0.0.2", true},
        {true, "http", "localhost", true},
        {true, "http", "::1", true},
        {true, "http", "127.0.0.2.evil.test", false},
        {true, "http", "127.0.0", false},
        {true, "http", "127.0.0.256", false},
        {true, "http", "128.0.0.1", false},
        {true, "http", "localhost.evil.test", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ostrel::cookieMayGo(c.secure, c.scheme, c.host), c.goes)
            << c.secure << " " << c.scheme << "://" << c.host;
}
