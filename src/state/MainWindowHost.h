#pragma once

#include "state/MainWindowSurface.h"

#include <QString>
#include <functional>

class GestionDonnee;
class QAction;
class QListWidget;
class QTableView;
class QWidget;
struct CommandContext;
namespace platform {
class MessageBoxService;
class InputBoxService;
class FileDialogService;
class SettingsStore;
} // namespace platform

// The services a window needs from the platform: boxes, the file dialog and
// the settings.
struct Services {
    platform::MessageBoxService& messages;
    platform::InputBoxService& input;
    platform::FileDialogService& files;
    platform::SettingsStore& settings;
};

// The main window as the command modules see it: where they hang their
// commands, the widgets their dialogs stand on, and the run of a command with
// the error report. The main window implements it; the modules never know
// the window's class, so none of them depends on another.
class MainWindowHost : public MainWindowSurface {
public:
    GestionDonnee& state() { return state_; }
    const Services& services() const { return services_; }

    // The main window itself, the parent of the modules' windows.
    virtual QWidget* widget() = 0;
    virtual QTableView* grid() const = 0;
    virtual QListWidget* list() const = 0;
    // The menu item (or menu title command) of that name; null when absent.
    virtual QAction* menuItem(const QString& name) const = 0;
    // Runs a command with the error report. While one runs, no other starts:
    // a second call is refused (returns false), as is closing the window.
    virtual bool run(const std::function<void()>& command) = 0;
    // Runs a command over the state, the services and this window, with
    // progress shown on the count label.
    virtual void runWithContext(const std::function<void(CommandContext&)>& command) = 0;

protected:
    MainWindowHost(GestionDonnee& state, Services services) : state_(state), services_(services) {}

private:
    GestionDonnee& state_;
    Services services_;
};
