#pragma once
// A service's logo as a template image (ArtworkImage), in the text colour.

#include "base/usage.h"
#include "ui/common/artwork_image.h"

#include <gtkmm/widget.h>
#include <string>

namespace ostrel {

// A service's logo, named by the service's display name.
class ProviderLogo : public ArtworkImage {
  public:
    ProviderLogo(ProviderID id, int size);
    ProviderID id() const { return id_; }

  private:
    ProviderID id_;
};

} // namespace ostrel
