#include "printing/Form6.h"

#include "platform/CommandRunner.h"
#include "platform/NumberText.h"
#include "platform/Printer.h"
#include "platform/RuntimeError.h"
#include "platform/SettingsStore.h"
#include "printing/Listing.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <QButtonGroup>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace platform;

namespace {

const QString kDriverCaption = QStringLiteral("Pilote utilisé : ");
const QString kPortCaption = QStringLiteral("Port utilisé : ");
const QString kPrinterKey = QStringLiteral("NomImp");

// The dialog's picture: a small printer with a sheet coming out of it.
QPixmap printerPicture() {
    QPixmap picture(48, 48);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(60, 60, 60), 1.5));
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(14, 4, 20, 16)); // the sheet going in
    painter.setBrush(QColor(150, 160, 175));
    painter.drawRoundedRect(QRectF(4, 18, 40, 16), 3, 3); // the body
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(12, 30, 24, 14)); // the printed sheet
    painter.setPen(QPen(QColor(40, 40, 40), 1));
    for (int y = 35; y <= 41; y += 3)
        painter.drawLine(QPointF(15, y), QPointF(33, y));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(40, 170, 60));
    painter.drawEllipse(QRectF(37, 22, 4, 4)); // the power light
    return picture;
}

} // namespace

Form6::Form6(const GestionDonnee& state, PrinterService& printer, MessageBoxService& messages,
             SettingsStore& settings, CommandRunner runCommand, PrintRunner runPrint,
             QWidget* parent)
    : QDialog(parent), state_(state), printer_(printer), messages_(messages), settings_(settings),
      runCommand_(std::move(runCommand)), runPrint_(std::move(runPrint)) {
    setObjectName(QStringLiteral("Form6"));
    setWindowTitle(QStringLiteral("Impression"));
    setModal(false);
    setAttribute(Qt::WA_DeleteOnClose);
    buildControls();
}

void Form6::buildControls() {
    // Made in the order the controls stand on the form.
    Command2 = new QPushButton(QStringLiteral("Annuler"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    Command1 = new QPushButton(QStringLiteral("Imprimer"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setDefault(true);

    Frame1 = new QGroupBox(QStringLiteral("Orientation"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Option2 = new QRadioButton(QStringLiteral("Paysage"), Frame1);
    Option2->setObjectName(QStringLiteral("Option2"));
    Option1 = new QRadioButton(QStringLiteral("Portrait"), Frame1);
    Option1->setObjectName(QStringLiteral("Option1"));
    orientationGroup_ = new QButtonGroup(this);
    orientationGroup_->addButton(Option2);
    orientationGroup_->addButton(Option1);
    auto* frameLayout = new QHBoxLayout(Frame1);
    frameLayout->addWidget(Option2);
    frameLayout->addWidget(Option1);
    frameLayout->addStretch();

    // The printer table: never shown to the user.
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    List1->hide();

    Combo1 = new QComboBox(this);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Combo1->setEditable(false);
    Combo1->setMinimumContentsLength(24);
    Combo1->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);

    Label3 = new QLabel(kPortCaption, this);
    Label3->setObjectName(QStringLiteral("Label3"));
    Label2 = new QLabel(kDriverCaption, this);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label1 = new QLabel(QStringLiteral("Imprimante : "), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Image1 = new QLabel(this);
    Image1->setObjectName(QStringLiteral("Image1"));
    Image1->setPixmap(printerPicture());
    Image1->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

    auto* grid = new QGridLayout;
    grid->addWidget(Label1, 0, 0);
    grid->addWidget(Combo1, 0, 1);
    grid->addWidget(Label2, 1, 0, 1, 2);
    grid->addWidget(Label3, 2, 0, 1, 2);
    grid->addWidget(Frame1, 3, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    auto* top = new QHBoxLayout;
    top->addWidget(Image1);
    top->addLayout(grid, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Command1);
    buttons->addWidget(Command2);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(List1);
    layout->addLayout(buttons);
    setTabOrder(Combo1, Option2);
    setTabOrder(Option2, Option1);
    setTabOrder(Option1, Command1);
    setTabOrder(Command1, Command2);

    connect(Combo1, &QComboBox::activated, this,
            [this](int index) { runCommand_([&] { Combo1Click(index); }); });
    connect(Command1, &QPushButton::clicked, this,
            platform::Guarded(messages_, [this] { Command1Click(); }));
    connect(Command2, &QPushButton::clicked, this, &QDialog::close);
}

QString Form6::PortShown(const QString& port) {
    if (port.isEmpty())
        throw RuntimeError(RuntimeError::InvalidCall);
    return port.left(port.size() - 1);
}

QString Form6::tableEntry(int index) const {
    const QListWidgetItem* item = List1->item(index);
    return item != nullptr ? item->text() : QString();
}

void Form6::LoadForm() {
    const QString remembered =
        settings_.value(sections::parametre(), kPrinterKey, QStringLiteral(""));
    int selected = 0;
    for (const InstalledPrinter& printer : printer_.printers()) {
        Combo1->addItem(printer.DeviceName);
        List1->addItem(printer.DeviceName);
        List1->addItem(printer.DriverName);
        List1->addItem(printer.Port);
        List1->addItem(DefaultText(printer.Orientation));
        Label2->setText(kDriverCaption + printer.DriverName);
        Label3->setText(kPortCaption + printer.Port);
        if (Combo1->itemText(Combo1->count() - 1) == remembered)
            selected = Combo1->count() - 1;
    }
    // With no printer at all the table is empty, its port "", and showing it
    // fails like any empty port.
    Combo1->setCurrentIndex(selected < Combo1->count() ? selected : -1);
    showPrinter(selected);
}

void Form6::showPrinter(int position) {
    Label2->setText(kDriverCaption + tableEntry(4 * position + 1));
    Label3->setText(kPortCaption + PortShown(tableEntry(4 * position + 2)));
}

void Form6::Combo1Click(int index) {
    if (index < 0)
        return;
    showPrinter(index);
    const double orientation = Val(tableEntry(4 * index + 3));
    // Only shown: the choice made with these buttons is not applied.
    if (orientation == double(OrientationPortrait))
        Option1->setChecked(true);
    else if (orientation == double(OrientationLandscape))
        Option2->setChecked(true);
    // Kept on purpose: saved under "Divers" while the dialog reads
    // "Paramètre", so the choice is not preselected the next time.
    settings_.setValue(sections::divers(), kPrinterKey, Combo1->currentText());
    const QString chosen = Combo1->currentText();
    for (const InstalledPrinter& printer : printer_.printers()) {
        if (printer.DeviceName == chosen) {
            printer_.setCurrentPrinter(printer);
            break;
        }
    }
}

void Form6::Command1Click() {
    if (printing_)
        return;
    printing_ = true;
    // The dialog waits while its lines are sent; the main window shows how far.
    setEnabled(false);
    bool printed = false;
    runPrint_([&](Progress& progress) {
        printed = PrintPointList(state_, printer_, messages_, progress);
    });
    setEnabled(true);
    printing_ = false;
    if (printed)
        close();
}

void Form6::closeEvent(QCloseEvent* event) {
    // Not while the document is being made: it would go with the dialog.
    if (printing_) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}
