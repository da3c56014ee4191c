#include "ui/panel/panel_screen.h"

namespace ostrel {

std::string_view screenTitle(PanelScreen screen) {
    switch (screen) {
    case PanelScreen::main:
        return "";
    case PanelScreen::settings:
        return "Settings";
    case PanelScreen::theme:
        return "Theme";
    case PanelScreen::support:
        return "Support Ostrel";
    case PanelScreen::supportQR:
        return "Scan to Pay";
    case PanelScreen::feedback:
        return "Send Feedback";
    }
    return "";
}

std::optional<PanelScreen> backTarget(PanelScreen screen) {
    switch (screen) {
    case PanelScreen::main:
        return std::nullopt;
    case PanelScreen::settings:
        return PanelScreen::main;
    case PanelScreen::theme:
    case PanelScreen::support:
    case PanelScreen::feedback:
        return PanelScreen::settings;
    case PanelScreen::supportQR:
        return PanelScreen::support;
    }
    return std::nullopt;
}

} // namespace ostrel
