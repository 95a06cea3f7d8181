#pragma once

#include "app/FileCommands.h"
#include "state/CommandContext.h"
#include "state/MainWindowHost.h"

#include <QMainWindow>

class GestionDonnee;
class QAction;
class QGroupBox;
class QLabel;
class QListWidget;
class QTableView;
class QTimer;

// The main window: the menu, the point list and its count label. Its slots
// only call the commands; the commands hold the logic.
class Form1 : public QMainWindow, public MainWindowHost {
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

    // MainWindowHost
    QWidget* widget() override { return this; }
    QTableView* grid() const override { return Grid; }
    QListWidget* list() const override { return List1; }
    QAction* menuItem(const QString& name) const override;
    bool run(const std::function<void()>& command) override;
    void runWithContext(const std::function<void(CommandContext&)>& command) override;

    // MainWindowSurface
    void setCaption(const QString& caption) override;
    void setCountLabel(const QString& text) override;
    void setWaitCursor(bool waiting) override;
    void setEditorOpen(bool open) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QAction* addItem(QMenu* menu, const char* name, const QString& caption,
                     const QKeySequence& shortcut = QKeySequence());
    void syncGridView();
    void applyColumnWidths();
    void closeWhenIdle();

    QGroupBox* frame_ = nullptr;
    QTableView* Grid = nullptr;
    QListWidget* List1 = nullptr;
    QLabel* Label1 = nullptr;
    bool busy_ = false;
    bool waitCursor_ = false;
    bool closing_ = false;
    bool editorOpen_ = false;
    // A close request that came while work went on, carried out after it.
    QTimer* pendingClose_ = nullptr;
};
