#pragma once
// Which names belong to a service's host: the one rule for cookies, website-data records and the
// page the hidden view sits on.

#include <string_view>

namespace ostrel {

// True when `name` is `host` itself, its leading-dot cookie form (".claude.ai"), or a real
// sub-domain of it ("api.claude.ai"). A plain suffix test would also take "notclaude.ai" for
// "claude.ai" and hand that site a login.
bool domainMatches(std::string_view name, std::string_view host);

} // namespace ostrel
