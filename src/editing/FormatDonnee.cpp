#include "editing/FormatDonnee.h"

#include "editing/CoordinateFormat.h"
#include "platform/CommandRunner.h"
#include "platform/GuiProgress.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QPushButton>
#include <QVBoxLayout>

FormatDonnee::FormatDonnee(GestionDonnee& state, platform::SettingsStore& settings,
                           platform::MessageBoxService& messages, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), settings_(settings), messages_(messages),
      runner_(std::move(runner)) {
    setObjectName(QStringLiteral("FormatDonnee"));
    setWindowTitle(format_texts::caption());
    setModal(false);

    Frame1 = new QGroupBox(QStringLiteral("Nombre de décimales"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Combo1 = new QComboBox(Frame1);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    (new QVBoxLayout(Frame1))->addWidget(Combo1);

    Frame2 = new QGroupBox(QStringLiteral("Séparateur de milliers"), this);
    Frame2->setObjectName(QStringLiteral("Frame2"));
    Check1 = new QCheckBox(QStringLiteral("Utiliser le séparateur système"), Frame2);
    Check1->setObjectName(QStringLiteral("Check1"));
    (new QVBoxLayout(Frame2))->addWidget(Check1);

    Command1 = new QPushButton(QStringLiteral("Ok"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Frame1);
    layout->addWidget(Frame2);
    layout->addWidget(Command1, 0, Qt::AlignRight);

    // Loading: the list shows the pattern saved in the settings store. A
    // pattern that is not one of the entries (typed into the settings file)
    // is shown all the same, without a choice in the list and without
    // becoming an entry; it still applies until one is chosen.
    Combo1->addItems(DecimalPatterns());
    const QString stored =
        settings_.value(sections::app(), QStringLiteral("NbDec"), QStringLiteral("0.000"));
    Combo1->setPlaceholderText(stored);
    QPalette shown = Combo1->palette();
    shown.setColor(QPalette::PlaceholderText, shown.color(QPalette::ButtonText));
    Combo1->setPalette(shown);
    Combo1->setCurrentIndex(Combo1->findText(stored));
    // Setting the box from a flag of 1 has always counted as a click on it:
    // the flag is saved again and "Ok" rewrites the list even without a change.
    if (state_.Settings.SepSys == 1) {
        Check1->setChecked(true);
        checkClicked();
    }

    // Only the user's choices count as clicks from here on.
    using platform::Guarded;
    connect(Check1, &QCheckBox::clicked, this, Guarded(messages_, [this] { checkClicked(); }));
    connect(Combo1, &QComboBox::activated, this,
            Guarded(messages_, [this](int index) { comboClicked(index); }));
    connect(Command1, &QPushButton::clicked, this, Guarded(messages_, [this] { okClicked(); }));
}

void FormatDonnee::checkClicked() {
    SetThousandsSeparator(state_, settings_, Check1->isChecked());
    FormatChanged = true;
}

void FormatDonnee::comboClicked(int index) {
    SetNumberPattern(state_, settings_, Combo1->itemText(index));
    FormatChanged = true;
}

void FormatDonnee::okClicked() {
    if (running_)
        return;
    if (FormatChanged) {
        running_ = true;
        setEnabled(false);
        const auto command = [this] {
            platform::GuiProgress progress([this](const QString& caption) {
                setWindowTitle(caption);
                repaint();
            });
            RewritePointRows(state_, progress);
            progress.flush();
        };
        if (runner_)
            runner_(command);
        else
            command();
        setEnabled(true);
        running_ = false;
    }
    close();
}

void FormatDonnee::closeEvent(QCloseEvent* event) {
    // Not while the list is being rewritten: the run still uses the dialog.
    if (running_) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}
