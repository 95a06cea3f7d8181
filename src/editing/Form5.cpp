#include "editing/Form5.h"

#include "editing/Numbering.h"
#include "platform/CommandRunner.h"
#include "platform/GuiProgress.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

template <typename Widget, typename... Args> Widget* named(const char* name, Args&&... args) {
    auto* widget = new Widget(std::forward<Args>(args)...);
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

Form5::Form5(GestionDonnee& state, platform::MessageBoxService& messages, Runner runner,
             QWidget* parent)
    : QDialog(parent), state_(state), messages_(messages), runner_(std::move(runner)) {
    setObjectName(QStringLiteral("Form5"));
    setWindowTitle(numbering_texts::caption());
    setModal(false);

    Label6 = named<QLabel>("Label6", QStringLiteral("Type d'immatriculation"), this);

    Frame2 = named<QGroupBox>("Frame2", QStringLiteral("Valeur numérique"), this);
    Label4 = named<QLabel>("Label4", QStringLiteral("Immatriculer à partir de : "), Frame2);
    Text1 = named<QLineEdit>("Text1", QStringLiteral("1"), Frame2);
    Command1 = named<QPushButton>("Command1", QStringLiteral("Immatriculer"), Frame2);
    auto* numeric = new QHBoxLayout(Frame2);
    numeric->addWidget(Label4);
    numeric->addWidget(Text1);
    numeric->addWidget(Command1);

    Frame1 = named<QGroupBox>("Frame1", QStringLiteral("Valeur alphanumérique"), this);
    Label1 = named<QLabel>("Label1", QStringLiteral("Texte à insérer : "), Frame1);
    Text4 = named<QLineEdit>("Text4", Frame1);
    Check1 = named<QCheckBox>("Check1", QStringLiteral("Immatriculer à partir de : "), Frame1);
    Text3 = named<QLineEdit>("Text3", QStringLiteral("1"), Frame1);
    // "d'indique" is the hint's wording as users know it.
    Label2 = named<QLabel>(
        "Label2",
        QStringLiteral(
            "Un astérisque * permet d'indique le point d'insertion du matricule dans le texte"),
        Frame1);
    Label2->setWordWrap(true);
    Label3 = named<QLabel>("Label3", QStringLiteral("Exemple : abc*de = abc1de, abc2de, etc..."),
                           Frame1);
    Command2 = named<QPushButton>("Command2", QStringLiteral("Immatriculer"), Frame1);
    auto* text = new QGridLayout(Frame1);
    text->addWidget(Label1, 0, 0);
    text->addWidget(Text4, 0, 1);
    text->addWidget(Check1, 1, 0);
    text->addWidget(Text3, 1, 1);
    text->addWidget(Label2, 2, 0, 1, 2);
    text->addWidget(Label3, 3, 0, 1, 2);
    text->addWidget(Command2, 4, 1, Qt::AlignRight);

    Label5 = named<QLabel>("Label5", QStringLiteral("Mode d'immatriculation"), this);
    OptRe = named<QRadioButton>("OptRe", QStringLiteral("Remplacer"), this);
    OptAj = named<QRadioButton>("OptAj", QStringLiteral("Ajouter"), this);
    Frame3 = named<QGroupBox>("Frame3", QStringLiteral("Ajouter"), this);
    OptAjAv = named<QRadioButton>("OptAjAv", QStringLiteral("Avant"), Frame3);
    OptAjAp = named<QRadioButton>("OptAjAp", QStringLiteral("Après"), Frame3);
    auto* side = new QHBoxLayout(Frame3);
    side->addWidget(OptAjAv);
    side->addWidget(OptAjAp);

    // Two separate choices: the mode, and the side within "Ajouter".
    auto* modes = new QButtonGroup(this);
    modes->addButton(OptRe);
    modes->addButton(OptAj);
    auto* sides = new QButtonGroup(this);
    sides->addButton(OptAjAv);
    sides->addButton(OptAjAp);
    OptRe->setChecked(true);
    OptAjAp->setChecked(true);
    // The side means nothing while "Remplacer" is chosen.
    Frame3->setEnabled(false);
    connect(OptAj, &QRadioButton::toggled, Frame3, &QWidget::setEnabled);

    auto* modeRow = new QHBoxLayout;
    auto* modeColumn = new QVBoxLayout;
    modeColumn->addWidget(OptRe);
    modeColumn->addWidget(OptAj);
    modeRow->addLayout(modeColumn);
    modeRow->addWidget(Frame3);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label6);
    layout->addWidget(Frame2);
    layout->addWidget(Frame1);
    layout->addWidget(Label5);
    layout->addLayout(modeRow);

    connect(Command1, &QPushButton::clicked, this,
            platform::Guarded(messages_, [this] { numericNumbering(); }));
    connect(Command2, &QPushButton::clicked, this,
            platform::Guarded(messages_, [this] { textNumbering(); }));
}

void Form5::numericNumbering() {
    const QString start = Text1->text();
    const NumberingMode mode = currentMode();
    runNumbering([&](platform::Progress& progress) {
        NumberPoints(state_, messages_, start, mode, NumberingCounter, progress);
    });
}

void Form5::textNumbering() {
    const QString insertion = Text4->text();
    const bool withNumber = Check1->isChecked();
    const QString start = Text3->text();
    const NumberingMode mode = currentMode();
    runNumbering([&](platform::Progress& progress) {
        NumberPointsWithText(state_, messages_, insertion, withNumber, start, mode,
                             NumberingCounter, progress);
    });
}

NumberingMode Form5::currentMode() const {
    if (OptRe->isChecked())
        return NumberingMode::Replace;
    return OptAjAv->isChecked() ? NumberingMode::AddBefore : NumberingMode::AddAfter;
}

void Form5::runNumbering(const std::function<void(platform::Progress&)>& numbering) {
    if (running_)
        return;
    running_ = true;
    // The window stays responsive while a long run goes on, but takes no
    // second run and no change of its fields meanwhile.
    setEnabled(false);
    const auto command = [&] {
        platform::GuiProgress progress([this](const QString& caption) {
            setWindowTitle(caption);
            repaint();
        });
        numbering(progress);
    };
    if (runner_)
        runner_(command);
    else
        platform::RunCommand(messages_, command);
    setEnabled(true);
    running_ = false;
}

void Form5::closeEvent(QCloseEvent* event) {
    // Closed in the middle of a run, the dialog would go while the run still uses it.
    if (running_) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}
