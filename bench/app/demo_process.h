#pragma once
// Starts the app's demo for a benchmark: `binary --demo` with XDG folders of its own under `home`,
// no accessibility bus, and the launcher's other settings (environment, output) as the caller left
// them. Ends the benchmark when it cannot start.

#include "base/gobject_ptr.h"

#include <cstdio>
#include <cstdlib>
#include <gio/gio.h>
#include <string>

namespace ostrel::bench {

inline GObjectPtr<GSubprocess> startDemo(GSubprocessLauncher* launcher, const char* binary,
                                         const std::string& home) {
    for (const char* var : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
        g_subprocess_launcher_setenv(launcher, var, (home + "/" + var).c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher, "GTK_A11Y", "none", TRUE);
    GErrorOut err;
    GObjectPtr<GSubprocess> app =
        adopt(g_subprocess_launcher_spawn(launcher, err.out(), binary, "--demo", nullptr));
    if (!app) {
        std::fprintf(stderr, "cannot start %s: %s\n", binary, err.message().c_str());
        std::exit(1);
    }
    return app;
}

} // namespace ostrel::bench
