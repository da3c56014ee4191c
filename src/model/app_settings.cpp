#include "model/app_settings.h"

#include "base/log.h"
#include "base/user_dirs.h"

#include <glib/gstdio.h>
#include <vector>

namespace ostrel {

namespace {
constexpr const char* group = "Ostrel";

void warn(const std::string& text) {
    log(text);
}

// The file a chain of symbolic links ends at (relative links read from the link's own folder); the
// path itself when it is no link. A chain too long to be real (a loop) ends where it stopped.
std::string followLinks(std::string path) {
    for (int hop = 0; hop < 40; ++hop) {
        GCharPtr next(g_file_read_link(path.c_str(), nullptr));
        if (!next) break;
        if (g_path_is_absolute(next.get())) {
            path = next.get();
        } else {
            GCharPtr dir(g_path_get_dirname(path.c_str()));
            GCharPtr joined(g_build_filename(dir.get(), next.get(), nullptr));
            path = joined.get();
        }
    }
    return path;
}
} // namespace

std::string_view rawValue(TrayLayout layout) {
    switch (layout) {
    case TrayLayout::automatic:
        return "automatic";
    case TrayLayout::label:
        return "label";
    case TrayLayout::perService:
        return "perService";
    }
    return "";
}

std::optional<TrayLayout> trayLayoutFromRaw(std::string_view raw) {
    for (TrayLayout l : {TrayLayout::automatic, TrayLayout::label, TrayLayout::perService})
        if (rawValue(l) == raw) return l;
    return std::nullopt;
}

std::string defaultSettingsPath() {
    GCharPtr p(g_build_filename(userConfigDir().c_str(), "ostrel", "settings.ini", nullptr));
    return p.get();
}

AppSettings::AppSettings() : AppSettings(defaultSettingsPath()) {}

AppSettings::AppSettings(std::string path) : path_(std::move(path)), file_(g_key_file_new()) {
    load();
}

void AppSettings::load() {
    GErrorOut err;
    if (!g_key_file_load_from_file(file_.get(), path_.c_str(), G_KEY_FILE_KEEP_COMMENTS, err.out())) {
        if (!err.matches(G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
            warn("Settings file " + path_ + " could not be read (" + err.message() + "); using defaults");
            unreadable_ = true;
        }
        file_.reset(g_key_file_new());
    }

    const auto theme = loadString(themeKey);
    theme_ = (theme ? gaugeThemeFromRaw(*theme) : std::nullopt).value_or(GaugeTheme::glass);
    enabled_ = loadSet(enabledKey, ProviderSet(allProviders.begin(), allProviders.end()));
    resetTimeShown_ = loadSet(resetTimeKey, {ProviderID::claude});
    selectedProvider_ = loadString(selectedProviderKey).value_or("claude");
    const auto layout = loadString(trayLayoutKey);
    trayLayout_ = (layout ? trayLayoutFromRaw(*layout) : std::nullopt).value_or(TrayLayout::automatic);
}

std::optional<std::string> AppSettings::loadString(const char* key) const {
    if (!g_key_file_has_key(file_.get(), group, key, nullptr)) return std::nullopt;
    GErrorOut err;
    GCharPtr value(g_key_file_get_string(file_.get(), group, key, err.out()));
    if (!value) {
        warn("Settings: " + std::string(key) + " could not be read (" + err.message() +
             "); using its default");
        return std::nullopt;
    }
    return std::string(value.get());
}

ProviderSet AppSettings::loadSet(const char* key, ProviderSet fallback) const {
    if (!g_key_file_has_key(file_.get(), group, key, nullptr)) return fallback;
    gsize n = 0;
    GErrorOut err;
    GStrvPtr list(g_key_file_get_string_list(file_.get(), group, key, &n, err.out()));
    if (!list && err) {
        // One bad value (a stray backslash) costs only its own key, and says so; read as an empty
        // list it would turn every service off.
        warn("Settings: " + std::string(key) + " could not be read (" + err.message() +
             "); using its default");
        return fallback;
    }
    ProviderSet out;
    for (gsize i = 0; list && i < n; ++i)
        if (auto id = providerFromRaw(list.get()[i])) out.insert(*id);
    return out; // a stored empty list stays empty
}

void AppSettings::saveSet(const ProviderSet& set, const char* key) {
    std::vector<const char*> raw;
    std::vector<std::string> keep;
    for (ProviderID id : set)
        keep.emplace_back(rawValue(id));
    for (const auto& s : keep)
        raw.push_back(s.c_str());
    g_key_file_set_string_list(file_.get(), group, key, raw.data(), raw.size());
    write();
}

void AppSettings::write() {
    GCharPtr dir(g_path_get_dirname(path_.c_str()));
    if (g_mkdir_with_parents(dir.get(), 0700) != 0) {
        warn("Settings folder " + std::string(dir.get()) + " could not be created; this change is not saved");
        return;
    }
    // A settings file kept elsewhere (with the user's dotfiles) and linked here stays a link: the
    // new contents replace the file it points to, atomically beside it.
    const std::string target = followLinks(path_);
    if (unreadable_) {
        // Keep what the user had, in case it can be mended by hand.
        const std::string backup = target + ".bad";
        if (g_rename(target.c_str(), backup.c_str()) == 0)
            warn("Kept the unreadable settings file as " + backup);
        unreadable_ = false;
    }
    gsize length = 0;
    GCharPtr data(g_key_file_to_data(file_.get(), &length, nullptr));
    GErrorOut err;
    if (!g_file_set_contents_full(target.c_str(), data.get(), static_cast<gssize>(length),
                                  G_FILE_SET_CONTENTS_CONSISTENT, 0600, err.out()))
        warn("Settings could not be saved (" + err.message() + ")");
}

void AppSettings::setTheme(GaugeTheme theme) {
    theme_ = theme;
    g_key_file_set_string(file_.get(), group, themeKey, std::string(rawValue(theme)).c_str());
    write();
    changed.emit();
}

void AppSettings::setEnabled(ProviderSet set) {
    enabled_ = std::move(set);
    saveSet(enabled_, enabledKey);
    changed.emit();
    enabledChanged.emit();
}

void AppSettings::setResetTimeShown(ProviderSet set) {
    resetTimeShown_ = std::move(set);
    saveSet(resetTimeShown_, resetTimeKey);
    changed.emit();
}

void AppSettings::setSelectedProvider(std::string raw) {
    selectedProvider_ = std::move(raw);
    g_key_file_set_string(file_.get(), group, selectedProviderKey, selectedProvider_.c_str());
    write();
    changed.emit();
}

void AppSettings::setTrayLayout(TrayLayout layout) {
    trayLayout_ = layout;
    g_key_file_set_string(file_.get(), group, trayLayoutKey, std::string(rawValue(layout)).c_str());
    write();
    changed.emit();
}

void AppSettings::setProviderEnabled(ProviderID id, bool on) {
    ProviderSet s = enabled_;
    on ? void(s.insert(id)) : void(s.erase(id));
    setEnabled(std::move(s));
}

void AppSettings::setResetTimeShown(ProviderID id, bool on) {
    ProviderSet s = resetTimeShown_;
    on ? void(s.insert(id)) : void(s.erase(id));
    setResetTimeShown(std::move(s));
}

} // namespace ostrel
