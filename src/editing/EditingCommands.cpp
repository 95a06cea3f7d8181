#include "editing/EditingCommands.h"

#include "editing/Form3.h"
#include "editing/PointEditing.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowHost.h"

#include <QAction>
#include <QEvent>
#include <QItemSelectionModel>
#include <QListWidget>
#include <QPointer>
#include <QTableView>

#include <functional>

namespace {

// Runs the modify command on a double click anywhere in a list box, on an
// item or not.
class DoubleClickFilter : public QObject {
public:
    DoubleClickFilter(QObject* parent, std::function<void()> action)
        : QObject(parent), action_(std::move(action)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonDblClick)
            action_();
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> action_;
};

// The view shows the list's current row again after a command moved it.
void followCurrentRow(MainWindowHost& window) {
    const platform::PointGridModel& grid = window.state().Grid;
    QItemSelectionModel* selection = window.grid()->selectionModel();
    const int row = grid.row() - grid.fixedRows();
    if (row >= 0 && row < grid.rowCount()) {
        selection->setCurrentIndex(grid.index(row, grid.col()),
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    } else {
        selection->clearCurrentIndex();
    }
}

class EditingCommands : public QObject {
public:
    explicit EditingCommands(MainWindowHost& window) : QObject(window.widget()), window_(window) {}

    ~EditingCommands() override {
        // The editor refers to the main window and the state: it goes with them.
        delete editor_.data();
    }

    void enterPoint() {
        window_.run([this] {
            window_.state().EditMode = editmode::Enter;
            openEditor();
        });
    }
    void modifyPoint() {
        window_.run([this] {
            if (PrepareModifyCommand(window_.state()))
                openEditor();
        });
    }
    void deletePoint() {
        window_.run([this] { DeletePointCommand(window_.state(), window_); });
    }
    void searchPoint() {
        window_.run([this] {
            if (PrepareSearchCommand(window_.state()))
                openEditor();
        });
    }
    void gridRowAction() {
        if (window_.state().Grid.row() >= 1)
            modifyPoint();
    }

private:
    void openEditor() {
        if (editor_ != nullptr) {
            // Only one editor at a time; the main window is disabled while
            // it is open, so this is a safeguard.
            editor_->raise();
            editor_->activateWindow();
            return;
        }
        auto* editor =
            new Form3(window_.state(), window_.services().messages, window_.widget(), window_);
        editor->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(editor, &Form3::gridPositionMoved, this,
                         [this] { followCurrentRow(window_); });
        editor_ = editor;
        editor->show();
    }

    MainWindowHost& window_;
    QPointer<Form3> editor_;
};

} // namespace

void InstallEditingCommands(MainWindowHost& window) {
    auto* commands = new EditingCommands(window);
    const auto wire = [&](const char* name, void (EditingCommands::*slot)()) {
        if (QAction* action = window.menuItem(QString::fromLatin1(name)))
            QObject::connect(action, &QAction::triggered, commands, slot);
    };
    wire("ent_pt", &EditingCommands::enterPoint);
    wire("mod_pt", &EditingCommands::modifyPoint);
    wire("sup_pt", &EditingCommands::deletePoint);
    wire("rech", &EditingCommands::searchPoint);

    QObject::connect(window.grid(), &QAbstractItemView::doubleClicked, commands,
                     [commands] { commands->gridRowAction(); });
    // List1 runs the command with no test of its own.
    window.list()->viewport()->installEventFilter(
        new DoubleClickFilter(commands, [commands] { commands->modifyPoint(); }));
}
