#include "ui/panel/provider_logo.h"

namespace ostrel {

ProviderLogo::ProviderLogo(ProviderID id, int size)
    : ArtworkImage(std::string(displayName(id)), size), id_(id) {}

} // namespace ostrel
