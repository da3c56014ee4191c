#include "web/domain_match.h"

namespace ostrel {

bool domainMatches(std::string_view name, std::string_view host) {
    if (host.empty()) return false;
    if (name == host) return true;
    // Longer than the host and a dot right before it: the leading-dot form or a sub-domain.
    return name.size() > host.size() && name.ends_with(host) && name[name.size() - host.size() - 1] == '.';
}

} // namespace ostrel
