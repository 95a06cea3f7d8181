#include "editing/Form3.h"

#include "platform/CommandRunner.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowSurface.h"

#include <QCoreApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QWindow>

using namespace platform;

namespace {

// The layout was drawn in twips; at 96 dots per inch 15 twips make a pixel.
constexpr int twips(int value) {
    return value * 96 / 1440;
}

// The design's positions stand kMargin further right: at the default font
// "Num : " needs more than the 540 twips left of the identifier field (its
// "N" was cut off), so the row moves over as a whole, sizes kept.
constexpr int kMargin = 150;
constexpr int kFormWidth = 6975 + kMargin;
constexpr int kFormHeight = 1320;
constexpr int kSearchFormHeight = 1695;
constexpr int kFieldTop = 120;
constexpr int kFieldHeight = 285;
constexpr int kButtonTop = 540;
constexpr int kSearchButtonTop = 900;
constexpr int kButtonWidth = 1395;
constexpr int kButtonHeight = 315;
constexpr int kOptionTop = 600;
constexpr int kOptionHeight = 300;

QString okCaption() {
    return QStringLiteral("Ok");
}
QString searchCaption() {
    return QStringLiteral("Rechercher");
}

} // namespace

Form3::Form3(GestionDonnee& state, MessageBoxService& messages, QWidget* mainWindow,
             MainWindowSurface& surface)
    : QDialog(nullptr), state_(state), messages_(messages), mainWindow_(mainWindow),
      surface_(surface) {
    // No Qt parent: a child window would be disabled along with the main
    // window. It stays above the main window as its transient window instead.
    setObjectName(QStringLiteral("Form3"));
    setWindowTitle(QStringLiteral("Editeur de point"));

    const auto field = [this](const char* name, int left, int width) {
        auto* edit = new QLineEdit(this);
        edit->setObjectName(QString::fromLatin1(name));
        edit->setGeometry(twips(kMargin + left), twips(kFieldTop), twips(width),
                          twips(kFieldHeight));
        return edit;
    };
    const auto label = [this](const char* name, const QString& text, int left, int width) {
        auto* caption = new QLabel(text, this);
        caption->setObjectName(QString::fromLatin1(name));
        caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        caption->setGeometry(twips(kMargin + left), twips(kFieldTop), twips(width),
                             twips(kFieldHeight));
        return caption;
    };
    Label4 = label("Label4", QStringLiteral("Num : "), -kMargin, 540 + kMargin);
    Text4 = field("Text4", 540, 1215);
    Label1 = label("Label1", QStringLiteral("X : "), 1800, 360);
    Text1 = field("Text1", 2160, 1275);
    Label2 = label("Label2", QStringLiteral("Y : "), 3480, 360);
    Text2 = field("Text2", 3840, 1275);
    Label3 = label("Label3", QStringLiteral("Z : "), 5160, 360);
    Text3 = field("Text3", 5520, 1275);

    const auto button = [this](const char* name, const QString& caption, int left) {
        auto* push = new QPushButton(caption, this);
        push->setObjectName(QString::fromLatin1(name));
        // Neither button is the default one: Return in a field does nothing,
        // so the identifier is always checked (by leaving it) before OK.
        push->setAutoDefault(false);
        push->setGeometry(twips(kMargin + left), twips(kButtonTop), twips(kButtonWidth),
                          twips(kButtonHeight));
        return push;
    };
    Command1 = button("Command1", okCaption(), 1440);
    Command2 = button("Command2", QStringLiteral("Annuler"), 4035);

    Option1 = new QRadioButton(QStringLiteral("Rechercher un des éléments"), this);
    Option1->setObjectName(QStringLiteral("Option1"));
    Option1->setGeometry(twips(kMargin + 540), twips(kOptionTop), twips(3075),
                         twips(kOptionHeight));
    Option1->setChecked(true);
    Option2 = new QRadioButton(QStringLiteral("Rechercher tous les éléments"), this);
    Option2->setObjectName(QStringLiteral("Option2"));
    Option2->setGeometry(twips(kMargin + 3840), twips(kOptionTop), twips(3105),
                         twips(kOptionHeight));

    setTabOrder(Text4, Text1);
    setTabOrder(Text1, Text2);
    setTabOrder(Text2, Text3);
    setTabOrder(Text3, Command1);
    setTabOrder(Command1, Command2);
    setTabOrder(Command2, Option1);

    for (QLineEdit* coordinate : {Text1, Text2, Text3}) {
        coordinate->installEventFilter(this);
        connect(
            coordinate, &QLineEdit::textChanged, this,
            platform::Guarded(messages_, [this, coordinate] { coordinateChanged(coordinate); }));
    }
    Text4->installEventFilter(this);
    connect(Command1, &QPushButton::clicked, this, &Form3::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &QDialog::close);
    // Return runs "Ok" (or "Rechercher") from any field, as users of dialogs
    // expect; Escape already closes the dialog as "Annuler" does.
    Command1->setDefault(true);

    applySearchLayout(false);
    load();

    if (mainWindow_ != nullptr && mainWindow_->window()->windowHandle() != nullptr) {
        winId();
        windowHandle()->setTransientParent(mainWindow_->window()->windowHandle());
    }
}

void Form3::load() {
    surface_.setEditorOpen(true);
    if (state_.EditMode == editmode::Modify) {
        // The default number text, not the list's format: every digit kept.
        Text4->setText(state_.CurrentMatricule.toText());
        Text1->setText(DefaultText(state_.EditX));
        Text2->setText(DefaultText(state_.EditY));
        Text3->setText(DefaultText(state_.EditZ));
        state_.InitialMatricule = state_.CurrentMatricule;
    }
    if (state_.EditMode == editmode::Search)
        applySearchLayout(true);
}

void Form3::done(int result) {
    if (!unloaded_) {
        unloaded_ = true;
        surface_.setEditorOpen(false);
        RunCommand(messages_, [this] {
            surface_.setCountLabel(GestionDonnee::PointCountLabel(state_.Grid.rows() - 1));
        });
    }
    QDialog::done(result);
}

void Form3::applySearchLayout(bool search) {
    Command1->setText(search ? searchCaption() : okCaption());
    const int buttonTop = twips(search ? kSearchButtonTop : kButtonTop);
    Command1->move(Command1->x(), buttonTop);
    Command2->move(Command2->x(), buttonTop);
    Option1->setVisible(search);
    Option2->setVisible(search);
    setFixedSize(twips(kFormWidth), twips(search ? kSearchFormHeight : kFormHeight));
}

bool Form3::eventFilter(QObject* watched, QEvent* event) {
    bool taken = false;
    RunCommand(messages_, [&] { taken = filterField(watched, event); });
    return taken || QDialog::eventFilter(watched, event);
}

bool Form3::filterField(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && watched != Text4) {
        // Coordinates are typed with the "," whatever key the user finds
        // handier (the keypad's "." in particular).
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->text() == QStringLiteral(".")) {
            QKeyEvent comma(QEvent::KeyPress, Qt::Key_Comma, key->modifiers(), QStringLiteral(","),
                            key->isAutoRepeat(), key->count());
            QCoreApplication::sendEvent(watched, &comma);
            return true;
        }
    } else if (event->type() == QEvent::FocusOut && watched == Text4) {
        // Another window taking the focus (a message box, another program)
        // does not mean the user left the field.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            identifierLeft();
    }
    return false;
}

void Form3::coordinateChanged(QLineEdit* field) {
    const QString text = field->text();
    if (text.isEmpty() || IsValidCoordinateText(text))
        return;
    messages_.show(editortexts::badCoordinate(), MsgButtons::Ok, MsgIcon::Information,
                   editortexts::badCoordinateTitle());
    // Takes back the character just typed, as a backspace would. The change
    // this makes is checked again, so a pasted text goes back one character
    // at a time until it is acceptable.
    field->backspace();
}

void Form3::identifierLeft() {
    if (!ShouldCheckMatricule(state_, Text4->text()))
        return;
    const bool free = IsMatriculeFree(state_.Grid, state_.CurrentMatricule);
    emit gridPositionMoved();
    if (free)
        return;
    messages_.show(editortexts::matriculeInUse(), MsgButtons::Ok, MsgIcon::Information,
                   editortexts::matriculeInUseTitle());
    Text4->clear();
    if (state_.EditMode == editmode::Modify)
        Text4->setText(state_.InitialMatricule.toText());
    // The focus stays where the user put it.
}

PointFields Form3::fields() const {
    return PointFields{Text4->text(), Text1->text(), Text2->text(), Text3->text()};
}

void Form3::Command1_Click() {
    RunCommand(messages_, [this] {
        for (QLineEdit* coordinate : {Text1, Text2, Text3}) {
            if (coordinate->text().isEmpty())
                coordinate->setText(QStringLiteral("0"));
        }
        for (QLineEdit* coordinate : {Text1, Text2, Text3})
            coordinate->setText(CoordinateTextAfterOk(coordinate->text()));
        const PointRecord scratch = ScratchPointOf(fields());

        switch (state_.EditMode) {
        case editmode::Enter:
            EnterPoint(state_, scratch);
            close();
            break;
        case editmode::Modify:
            ModifyPoint(state_, scratch);
            close();
            break;
        case editmode::Search:
            search();
            break;
        default:
            close();
            break;
        }
    });
}

void Form3::search() {
    const SearchRule rule = Option1->isChecked() ? SearchRule::AnyField : SearchRule::AllFields;
    const SearchOutcome outcome =
        SearchPoints(state_.Points, state_.PointCount, fields(), rule, messages_);
    switch (outcome.kind) {
    case SearchOutcome::Finished:
        close();
        break;
    case SearchOutcome::Cancelled:
        // The editor waits, still searching, with empty fields.
        Text4->clear();
        Text1->clear();
        Text2->clear();
        Text3->clear();
        break;
    case SearchOutcome::Edit:
        switchToModify(outcome.index);
        break;
    }
}

void Form3::switchToModify(std::size_t index) {
    // CurrentMatricule and InitialMatricule stay those of the last modify
    // command; only the fields, the index and the mode follow the point found.
    const PointRecord point = state_.Points[index];
    Text4->setText(point.Matricule);
    Text1->setText(DefaultText(point.X));
    Text2->setText(DefaultText(point.Y));
    Text3->setText(DefaultText(point.Z));
    state_.SelectedIndex = static_cast<double>(index);
    applySearchLayout(false);
    state_.EditMode = editmode::Modify;
}
