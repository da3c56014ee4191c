#include "web/domain_match.h"

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
