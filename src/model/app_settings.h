#pragma once
// The user's persistent choices, in a key file at $XDG_CONFIG_HOME/ostrel/settings.ini. Each
// assignment is saved at once with an atomic replace (through a symbolic link, when the file is
// one); nothing is written before the first one. A file that cannot be read gives the defaults and
// is kept (as settings.ini.bad) when first replaced; one value that cannot be read gives its key's
// default, with a line in the log.

#include "base/gauge_theme_id.h"
#include "base/gobject_ptr.h"
#include "base/usage.h"

#include <optional>
#include <set>
#include <sigc++/signal.h>
#include <string>
#include <string_view>

namespace ostrel {

using ProviderSet = std::set<ProviderID>;

// How the tray shows the services: as the host suits (automatic), as one wide label, or as one
// square item per service.
enum class TrayLayout { automatic, label, perService };
std::string_view rawValue(TrayLayout layout);
std::optional<TrayLayout> trayLayoutFromRaw(std::string_view raw);

class AppSettings {
  public:
    static constexpr const char* themeKey = "gaugeTheme";
    static constexpr const char* enabledKey = "enabledProviders";
    static constexpr const char* resetTimeKey = "resetTimeProviders";
    static constexpr const char* selectedProviderKey = "selectedProvider";
    static constexpr const char* trayLayoutKey = "trayItems";

    // Loads from the default location.
    AppSettings();
    // Loads from `path` (tests, and anyone who keeps settings elsewhere).
    explicit AppSettings(std::string path);
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;

    GaugeTheme theme() const { return theme_; }
    const ProviderSet& enabled() const { return enabled_; }
    const ProviderSet& resetTimeShown() const { return resetTimeShown_; }
    // Raw value of the panel's chosen tab; not validated here (the panel falls back itself).
    const std::string& selectedProvider() const { return selectedProvider_; }
    TrayLayout trayLayout() const { return trayLayout_; }

    void setTheme(GaugeTheme theme);
    void setEnabled(ProviderSet set);
    void setResetTimeShown(ProviderSet set);
    void setSelectedProvider(std::string raw);
    void setTrayLayout(TrayLayout layout);

    // The boolean views the settings screen binds its switches to.
    bool isEnabled(ProviderID id) const { return enabled_.contains(id); }
    void setProviderEnabled(ProviderID id, bool on);
    bool showsResetTime(ProviderID id) const { return resetTimeShown_.contains(id); }
    void setResetTimeShown(ProviderID id, bool on);

    const std::string& path() const { return path_; }

    // Emitted after every assignment, whatever field it was.
    sigc::signal<void()> changed;
    // Emitted after an assignment of `enabled` (the model refreshes on it).
    sigc::signal<void()> enabledChanged;

  private:
    void load();
    // A key's value; none when it is missing, or unreadable (which is logged).
    std::optional<std::string> loadString(const char* key) const;
    ProviderSet loadSet(const char* key, ProviderSet fallback) const;
    void saveSet(const ProviderSet& set, const char* key);
    void write();

    std::string path_;
    GKeyFilePtr file_;
    bool unreadable_ = false; // the file exists but could not be parsed: keep it on first write
    GaugeTheme theme_ = GaugeTheme::glass;
    ProviderSet enabled_;
    ProviderSet resetTimeShown_;
    std::string selectedProvider_;
    TrayLayout trayLayout_ = TrayLayout::automatic;
};

std::string defaultSettingsPath();

} // namespace ostrel
