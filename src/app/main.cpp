// Ostrel's entry point. Until the tray application lands, it shows what is stored in the settings.
#include "model/app_settings.h"

#include <cstdio>
#include <string>

int main() {
    ostrel::AppSettings settings;
    auto list = [](const ostrel::ProviderSet& set) {
        std::string out;
        for (auto id : set)
            out += (out.empty() ? "" : ", ") + std::string(ostrel::displayName(id));
        return out.empty() ? std::string("none") : out;
    };
    std::printf("Ostrel settings (%s)\n", settings.path().c_str());
    std::printf("  Gauge theme:            %s\n", std::string(ostrel::displayName(settings.theme())).c_str());
    std::printf("  Tracked services:       %s\n", list(settings.enabled()).c_str());
    std::printf("  Reset time in menu bar: %s\n", list(settings.resetTimeShown()).c_str());
    return 0;
}
