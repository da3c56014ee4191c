#pragma once
// Where the services live. The real HTTPS hosts by default; each can be pointed elsewhere (tests and
// the demo use loopback fake services over plain HTTP) with an environment variable holding a base
// URL such as http://127.0.0.2:8080:
//   OSTREL_CLAUDE_URL, OSTREL_CHATGPT_URL, OSTREL_CURSOR_URL, OSTREL_FEEDBACK_URL,
// plus OSTREL_CHATGPT_ACCOUNT_DOMAIN and OSTREL_CURSOR_OLD_DOMAIN for the second login domains.

#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

struct ServiceEndpoint {
    std::string scheme = "https";
    std::string host;
    int port = 0; // 0: the scheme's default

    // "https://claude.ai" or "http://127.0.0.2:8080".
    std::string origin() const;
    // origin() + path; `path` starts with "/".
    std::string url(std::string_view path) const;

    // Reads "scheme://host[:port]" (a trailing "/" is allowed); no value for anything else.
    static std::optional<ServiceEndpoint> parse(std::string_view baseURL);
};

struct ServiceConfig {
    ServiceEndpoint claude{"https", "claude.ai", 0};
    ServiceEndpoint chatgpt{"https", "chatgpt.com", 0};
    ServiceEndpoint cursor{"https", "cursor.com", 0};
    ServiceEndpoint feedback{"https", "ostrel.app", 0};
    std::string chatgptAccountDomain = "openai.com";
    std::string cursorOlderDomain = "cursor.sh";

    // The defaults with every override found in the environment applied; a malformed override is
    // reported on standard output and ignored.
    static ServiceConfig fromEnvironment();
};

} // namespace ostrel
