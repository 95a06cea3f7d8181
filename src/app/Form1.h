#pragma once

#include "app/CommandContext.h"
#include "app/FileCommands.h"

#include <QMainWindow>

class GestionDonnee;
class QAction;
class QGroupBox;
class QLabel;
class QListWidget;
class QTableView;
namespace platform {
class MessageBoxService;
class InputBoxService;
class FileDialogService;
class SettingsStore;
} // namespace platform

// The services a window needs from the platform: boxes and settings.
struct Services {
    platform::MessageBoxService& messages;
    platform::InputBoxService& input;
    platform::FileDialogService& files;
    platform::SettingsStore& settings;
};

// The main window: the menu, the point list and its count label. Its slots
// only call the commands; the commands hold the logic.
class Form1 : public QMainWindow, public MainWindowSurface {
    Q_OBJECT
public:
    Form1(GestionDonnee& state, Services services, QWidget* parent = nullptr);

    // Start-up steps: settings, the list's header, the mail settings file.
    void LoadMainWindow(const QString& programFolder);
    // Reads files as the open command adds them: DXF for names ending in
    // ".dxf", XYZ otherwise.
    void OpenFiles(const QStringList& fileNames);
    void OpenCommand();
    void SaveCommand();
    void QuitCommand();

    // For the command modules that install themselves on the window.
    GestionDonnee& state() { return state_; }
    const Services& services() const { return services_; }
    QTableView* grid() const { return Grid; }
    QListWidget* list() const { return List1; }
    // The menu item (or menu title command) of that name.
    QAction* menuItem(const QString& name) const;
    // Runs a command with the error report. While one runs, no other starts:
    // a second call is refused (returns false), as is closing the window.
    bool run(const std::function<void()>& command);
    // Runs a command over the state, the services and this window, with
    // progress shown on the count label.
    void runWithContext(const std::function<void(CommandContext&)>& command);

    // MainWindowSurface
    void setCaption(const QString& caption) override;
    void setCountLabel(const QString& text) override;
    void setWaitCursor(bool waiting) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QAction* addItem(QMenu* menu, const char* name, const QString& caption,
                     const QKeySequence& shortcut = QKeySequence());
    void syncGridView();
    void applyColumnWidths();

    GestionDonnee& state_;
    Services services_;
    QGroupBox* frame_ = nullptr;
    QTableView* Grid = nullptr;
    QListWidget* List1 = nullptr;
    QLabel* Label1 = nullptr;
    bool busy_ = false;
    bool waitCursor_ = false;
    bool closing_ = false;
};
