#include "app/Form1.h"

#include "platform/CommandRunner.h"
#include "platform/GuiProgress.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QScreen>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

Form1::Form1(GestionDonnee& points, Services services, QWidget* parent)
    : QMainWindow(parent), MainWindowHost(points, services) {
    setObjectName(QStringLiteral("Form1"));
    setWindowTitle(captions::designTime());
    buildMenus();

    frame_ = new QGroupBox(QStringLiteral("Liste des points XYZ"), this);
    frame_->setObjectName(QStringLiteral("Frame1"));
    auto* layout = new QVBoxLayout(frame_);

    Grid = new QTableView(frame_);
    Grid->setObjectName(QStringLiteral("Grid"));
    Grid->setModel(&state().Grid);
    Grid->verticalHeader()->hide();
    Grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    Grid->setSelectionMode(QAbstractItemView::SingleSelection);
    Grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    Grid->horizontalHeader()->setHighlightSections(false);
    Grid->verticalHeader()->setDefaultSectionSize(Grid->fontMetrics().height() + 4);
    // The grid's current row follows the view's, in grid rows (header included).
    using platform::Guarded;
    platform::MessageBoxService& messages = MainWindowHost::services().messages;
    connect(Grid->selectionModel(), &QItemSelectionModel::currentChanged, this,
            Guarded(messages, [this](const QModelIndex& current) {
                if (!current.isValid())
                    return;
                state().Grid.setRow(current.row() + state().Grid.fixedRows());
                state().Grid.setCol(current.column());
            }));
    // While a row is removed the view makes the row below current, before
    // it moves up: once it has, the current row is the one that took the
    // removed row's place again, as the grid keeps it.
    connect(&state().Grid, &QAbstractItemModel::rowsRemoved, this, Guarded(messages, [this] {
        const QModelIndex current = Grid->selectionModel()->currentIndex();
        if (current.isValid())
            state().Grid.setRow(current.row() + state().Grid.fixedRows());
    }));
    connect(&state().Grid, &QAbstractItemModel::modelReset, this,
            Guarded(messages, [this] { syncGridView(); }));
    connect(&state().Grid, &QAbstractItemModel::headerDataChanged, this,
            Guarded(messages, [this] { syncGridView(); }));
    layout->addWidget(Grid);

    // Nothing fills this list; it is kept hidden, with its double click
    // wired to the modify command for when it is shown.
    List1 = new QListWidget(frame_);
    List1->setObjectName(QStringLiteral("List1"));
    List1->setFont(QFont(QStringLiteral("Courier")));
    List1->hide();
    layout->addWidget(List1);

    Label1 = new QLabel(captions::countLabelDesign(), frame_);
    Label1->setObjectName(QStringLiteral("Label1"));
    layout->addWidget(Label1);

    setCentralWidget(frame_);
    resize(560, 520);
    syncGridView();

    pendingClose_ = new QTimer(this);
    pendingClose_->setInterval(50);
    connect(pendingClose_, &QTimer::timeout, this, Guarded(messages, [this] { closeWhenIdle(); }));
}

QAction* Form1::addItem(QMenu* menu, const char* name, const QString& caption,
                        const QKeySequence& shortcut) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(QString::fromLatin1(name));
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    return action;
}

void Form1::buildMenus() {
    QMenuBar* bar = menuBar();

    QMenu* fich = bar->addMenu(QStringLiteral("Fichier"));
    fich->setObjectName(QStringLiteral("fich"));
    QAction* openItem =
        addItem(fich, "open", QStringLiteral("Ouvrir"), QKeySequence(QStringLiteral("Ctrl+O")));
    connect(openItem, &QAction::triggered, this, &Form1::OpenCommand);
    fich->addSeparator();
    QAction* saveItem = addItem(fich, "save", QStringLiteral("Enregistrer"),
                                QKeySequence(QStringLiteral("Ctrl+E")));
    connect(saveItem, &QAction::triggered, this, &Form1::SaveCommand);
    fich->addSeparator();
    addItem(fich, "para", QStringLiteral("Paramètres de lecture\\Ecriture"),
            QKeySequence(QStringLiteral("Ctrl+A")));
    fich->addSeparator();
    addItem(fich, "print", QStringLiteral("Imprimer"), QKeySequence(QStringLiteral("Ctrl+P")));
    fich->addSeparator();
    QAction* exitItem =
        addItem(fich, "exit", QStringLiteral("Quitter"), QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(exitItem, &QAction::triggered, this, &Form1::QuitCommand);

    QMenu* edit = bar->addMenu(QStringLiteral("Edition"));
    edit->setObjectName(QStringLiteral("edit"));
    addItem(edit, "ent_pt", QStringLiteral("Entrer un point"),
            QKeySequence(QStringLiteral("Ctrl+N")));
    addItem(edit, "mod_pt", QStringLiteral("Modifier le point"),
            QKeySequence(QStringLiteral("Ctrl+M")));
    addItem(edit, "sup_pt", QStringLiteral("Supprimer le point"),
            QKeySequence(QStringLiteral("Ctrl+S")));
    addItem(edit, "rech", QStringLiteral("Rechercher"), QKeySequence(QStringLiteral("Ctrl+R")));
    edit->addSeparator();
    addItem(edit, "MnuImmatriculation", QStringLiteral("Immatriculation"));

    // These two menu titles are commands themselves.
    QAction* view = bar->addAction(QStringLiteral("Visualisation"));
    view->setObjectName(QStringLiteral("view"));
    QAction* format = bar->addAction(QStringLiteral("Format des données"));
    format->setObjectName(QStringLiteral("Mnu_Format"));

    QMenu* what = bar->addMenu(QStringLiteral("?"));
    what->setObjectName(QStringLiteral("what"));
    addItem(what, "help", QStringLiteral("Aide"), QKeySequence(Qt::Key_F1));
    what->addSeparator();
    QMenu* internet = what->addMenu(QStringLiteral("Internet"));
    internet->setObjectName(QStringLiteral("mnu_Internet"));
    internet->menuAction()->setObjectName(QStringLiteral("mnu_Internet"));
    addItem(internet, "mnu_Internet_Maj", QStringLiteral("Mise à jour"));
    internet->addSeparator();
    addItem(internet, "EnvMail", QStringLiteral("Envoyer un mail à l'auteur"));
    internet->addSeparator();
    addItem(internet, "mnu_lien_site", QStringLiteral("Visiter le site internet"));
    what->addSeparator();
    addItem(what, "apropos", QStringLiteral("A propos de..."));
}

void Form1::LoadMainWindow(const QString& programFolder) {
    run([&] {
        ::LoadMainWindow(state(), services().settings, services().messages, programFolder);
    });
    applyColumnWidths();
}

void Form1::OpenFiles(const QStringList& fileNames) {
    for (const QString& fileName : fileNames) {
        runWithContext([&](CommandContext& context) {
            OpenFile(context, fileName, QFileInfo(fileName).fileName(), FormatOfName(fileName));
        });
    }
}

void Form1::OpenCommand() {
    runWithContext([](CommandContext& context) { ::OpenCommand(context); });
}

void Form1::SaveCommand() {
    runWithContext([](CommandContext& context) { ::SaveCommand(context); });
}

void Form1::runWithContext(const std::function<void(CommandContext&)>& command) {
    run([&] {
        platform::GuiProgress progress([this](const QString& text) { setCountLabel(text); });
        CommandContext context{state(),          services().messages, services().input,
                               services().files, services().settings, *this,
                               progress};
        command(context);
    });
    // A command that failed while the hourglass showed left it up; the
    // error has been reported by now.
    setWaitCursor(false);
}

void Form1::QuitCommand() {
    close();
}

QAction* Form1::menuItem(const QString& name) const {
    for (QAction* action : findChildren<QAction*>()) {
        if (action->objectName() == name)
            return action;
    }
    return nullptr;
}

void Form1::closeEvent(QCloseEvent* event) {
    if (editorOpen_) {
        // Disabled while the point editor is open: closing now would lose
        // the point being typed.
        event->ignore();
        return;
    }
    if (busy_) {
        // A command is at work (a file read or written, the list printed,
        // the view's copy made): closing now would lose it. The request is
        // carried out once the command has ended. (A drawing pass of the
        // view is no command: closing stops it.)
        event->ignore();
        pendingClose_->start();
        return;
    }
    if (!closing_) {
        closing_ = true;
        runWithContext([this](CommandContext& context) {
            CloseMainWindow(state(), services().messages, [&] { ::SaveCommand(context); });
        });
    }
    // Every other window goes with the main one.
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window != this && window->isVisible())
            window->close();
    }
    event->accept();
}

void Form1::closeWhenIdle() {
    if (busy_)
        return;
    pendingClose_->stop();
    close();
}

void Form1::setEditorOpen(bool open) {
    editorOpen_ = open;
    // Only the main window's own controls: the secondary windows are its
    // children and stay usable beside the editor.
    centralWidget()->setEnabled(!open);
    menuBar()->setEnabled(!open && !busy_);
}

void Form1::setCaption(const QString& caption) {
    setWindowTitle(caption);
}

void Form1::setCountLabel(const QString& text) {
    Label1->setText(text);
    // Shown at once: long loops set it between their event batches.
    Label1->repaint();
}

void Form1::setWaitCursor(bool waiting) {
    if (waiting == waitCursor_)
        return;
    waitCursor_ = waiting;
    if (waiting)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

bool Form1::run(const std::function<void()>& command) {
    // Commands pump events while they work: a click that arrives then, on the
    // menu or on any other window, must not start a second command inside
    // the first one.
    if (busy_) {
        QApplication::beep();
        return false;
    }
    busy_ = true;
    menuBar()->setEnabled(false);
    const bool done = platform::RunCommand(services().messages, command);
    busy_ = false;
    menuBar()->setEnabled(!editorOpen_);
    return done;
}

void Form1::syncGridView() {
    // With a fixed row the header row is the view's header; without one it
    // scrolls with the points as an ordinary row.
    Grid->horizontalHeader()->setVisible(state().Grid.fixedRows() == 1);
    applyColumnWidths();
}

void Form1::applyColumnWidths() {
    // Widths are kept in twips (1/1440 inch).
    const double dpi = logicalDpiX();
    for (int col = 0; col < state().Grid.cols(); ++col) {
        const int twips = state().Grid.colWidth(col);
        if (twips > 0)
            Grid->setColumnWidth(col, qRound(twips * dpi / 1440.0));
    }
}
