#include "app/frmImport.h"

#include "app/ImportCommand.h"
#include "platform/CommandRunner.h"
#include "platform/NumberText.h"
#include "state/CommandContext.h"
#include "state/MainWindowHost.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>
#include <array>
#include <optional>
#include <utility>

using importing::ColumnRole;

namespace {

// The separators the importer knows, in the order of the list.
const std::array<std::pair<QChar, const char*>, 5> separators{{
    {u',', "Virgule ( , )"},
    {u';', "Point-virgule ( ; )"},
    {u'\t', "Tabulation"},
    {u'|', "Barre verticale ( | )"},
    {u' ', "Blancs (espaces alignés)"},
}};
const std::array<std::pair<QChar, const char*>, 2> decimals{{
    {u'.', "Point ( . )"},
    {u',', "Virgule ( , )"},
}};
const std::array<ColumnRole, 5> roles{ColumnRole::Id, ColumnRole::X, ColumnRole::Y, ColumnRole::Z,
                                      ColumnRole::Skip};
// Rejected rows listed by name; the rest are counted.
constexpr std::size_t listedRejects = 10;

QString count(qint64 value) {
    return platform::Format(double(value), u"#,##0");
}

template <std::size_t N>
int indexOf(const std::array<std::pair<QChar, const char*>, N>& list, QChar value) {
    for (std::size_t i = 0; i < N; ++i) {
        if (list[i].first == value)
            return int(i);
    }
    return -1;
}

} // namespace

frmImport::frmImport(MainWindowHost& host, QString fileName, ImportPreview preview, QWidget* parent)
    : QDialog(parent), host_(host), fileName_(std::move(fileName)), preview_(std::move(preview)) {
    setObjectName(QStringLiteral("frmImport"));
    setWindowTitle(caption());
    setAttribute(Qt::WA_DeleteOnClose);
    buildControls();
    showLayout();
}

QString frmImport::caption() {
    return QStringLiteral("Importer un relevé");
}

QString frmImport::roleText(ColumnRole role) {
    switch (role) {
    case ColumnRole::Id:
        return QStringLiteral("Matricule");
    case ColumnRole::X:
        return QStringLiteral("X");
    case ColumnRole::Y:
        return QStringLiteral("Y");
    case ColumnRole::Z:
        return QStringLiteral("Z");
    case ColumnRole::Skip:
        break;
    }
    return QStringLiteral("ignorée");
}

void frmImport::buildControls() {
    auto* layout = new QVBoxLayout(this);

    Label3 = new QLabel(this);
    Label3->setObjectName(QStringLiteral("Label3"));
    Label3->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(Label3);

    auto* choices = new QHBoxLayout;
    auto addChoice = [&](const QString& caption, QWidget* control) {
        auto* label = new QLabel(caption, this);
        label->setBuddy(control);
        choices->addWidget(label);
        choices->addWidget(control);
        choices->addSpacing(16);
    };
    Combo1 = new QComboBox(this);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    for (const auto& [character, text] : separators)
        Combo1->addItem(QString::fromUtf8(text));
    addChoice(QStringLiteral("&Séparateur :"), Combo1);
    Combo2 = new QComboBox(this);
    Combo2->setObjectName(QStringLiteral("Combo2"));
    for (const auto& [character, text] : decimals)
        Combo2->addItem(QString::fromUtf8(text));
    addChoice(QStringLiteral("Séparateur &décimal :"), Combo2);
    Spin1 = new QSpinBox(this);
    Spin1->setObjectName(QStringLiteral("Spin1"));
    Spin1->setRange(0, ImportPreview::shownLines * 1000);
    addChoice(QStringLiteral("&Lignes à ignorer :"), Spin1);
    choices->addStretch();
    layout->addLayout(choices);

    // The first row holds each column's role, above the column it names.
    Grid = new QTableWidget(this);
    Grid->setObjectName(QStringLiteral("Grid"));
    Grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    Grid->setSelectionMode(QAbstractItemView::NoSelection);
    Grid->horizontalHeader()->hide();
    layout->addWidget(Grid, 1);

    Label2 = new QLabel(this);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label2->setWordWrap(true);
    layout->addWidget(Label2);
    Label1 = new QLabel(this);
    Label1->setObjectName(QStringLiteral("Label1"));
    layout->addWidget(Label1);
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    List1->setMaximumHeight(List1->fontMetrics().height() * 6);
    layout->addWidget(List1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    Command1 = new QPushButton(QStringLiteral("Ok"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command2 = new QPushButton(QStringLiteral("Annuler"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    // Enter in the lines field takes the number; it must not press "Ok".
    for (QPushButton* button : {Command1, Command2}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    layout->addLayout(buttons);

    connect(Combo1, &QComboBox::activated, this, [this](int index) {
        change([&] { preview_.setSeparator(separators[std::size_t(index)].first); });
    });
    connect(Combo2, &QComboBox::activated, this, [this](int index) {
        change([&] { preview_.setDecimal(decimals[std::size_t(index)].first); });
    });
    // Typed digits count once the field is left or Enter pressed, not at
    // each keystroke: every change counts the whole file.
    Spin1->setKeyboardTracking(false);
    connect(Spin1, &QSpinBox::valueChanged, this, [this](int value) {
        if (value != preview_.layout().skipLines)
            change([&] { preview_.setSkipLines(value); });
    });
    connect(Command1, &QPushButton::clicked, this, &frmImport::Command1Click);
    connect(Command2, &QPushButton::clicked, this, &frmImport::reject);
    resize(760, 600);
}

void frmImport::change(const std::function<void()>& apply) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    platform::RunCommand(host_.services().messages, [&] {
        apply();
        showLayout();
    });
    QApplication::restoreOverrideCursor();
}

void frmImport::showLayout() {
    const importing::TextLayout& layout = preview_.layout();
    Label3->setText(QStringLiteral("Fichier : %1 (%2)")
                        .arg(QDir::toNativeSeparators(fileName_), layout.encoding));

    const QSignalBlocker blockSeparator(Combo1), blockDecimal(Combo2), blockSkip(Spin1);
    Combo1->setCurrentIndex(indexOf(separators, layout.separator));
    Combo2->setCurrentIndex(indexOf(decimals, layout.decimal));
    Spin1->setValue(layout.skipLines);

    const std::vector<QStringList>& rows = preview_.rows();
    const int columns = preview_.columnCount();
    Grid->clear();
    Grid->setColumnCount(columns);
    Grid->setRowCount(int(rows.size()) + 1);
    QStringList lineNumbers{QStringLiteral("Rôle")};
    for (std::size_t line = 0; line < rows.size(); ++line)
        lineNumbers << platform::DefaultText(double(line + 1));
    Grid->setVerticalHeaderLabels(lineNumbers);
    for (int column = 0; column < columns; ++column) {
        auto* combo = new QComboBox(Grid);
        combo->setObjectName(QStringLiteral("Role%1").arg(platform::DefaultText(column)));
        for (ColumnRole role : roles)
            combo->addItem(roleText(role));
        combo->setCurrentIndex(
            int(std::find(roles.begin(), roles.end(), preview_.role(column)) - roles.begin()));
        connect(combo, &QComboBox::activated, this, [this, column](int index) {
            // Deferred: the change rebuilds the table and with it this box.
            QMetaObject::invokeMethod(
                this,
                [this, column, index] {
                    change([&] { preview_.setRole(column, roles[std::size_t(index)]); });
                },
                Qt::QueuedConnection);
        });
        Grid->setCellWidget(0, column, combo);
    }
    const QColor skipped = palette().color(QPalette::Disabled, QPalette::Text);
    for (std::size_t line = 0; line < rows.size(); ++line) {
        const QStringList& cells = rows[line];
        for (qsizetype column = 0; column < cells.size(); ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            if (preview_.isSkipped(int(line)))
                item->setForeground(skipped);
            Grid->setItem(int(line) + 1, int(column), item);
        }
    }
    Grid->resizeColumnsToContents();
    Label2->setText(importing::DescribeLayout(layout));
    showCount();
}

void frmImport::showCount() {
    const importing::ImportReport report = preview_.count(listedRejects);
    Label1->setText(QStringLiteral("Lignes donnant un point : %1    Lignes écartées : %2")
                        .arg(count(report.points), count(report.rejectedCount)));
    List1->clear();
    for (const importing::RejectedRow& row : report.rejected)
        List1->addItem(QStringLiteral("Ligne %1 : %2").arg(count(row.line), row.reason));
    const qint64 unlisted = report.rejectedCount - qint64(report.rejected.size());
    if (unlisted > 0)
        List1->addItem(QStringLiteral("… et %1 autres lignes écartées").arg(count(unlisted)));
    List1->setVisible(report.rejectedCount > 0);
}

void frmImport::Command1Click() {
    bool added = false;
    const importing::ImportOptions options = preview_.options();
    host_.runWithContext([&](CommandContext& context) {
        added = ImportSurveyFile(context, fileName_, options, nullptr);
    });
    if (added)
        accept();
}

void ShowImportWindows(MainWindowHost& host, QStringList fileNames) {
    while (!fileNames.isEmpty()) {
        const QString fileName = fileNames.takeFirst();
        std::optional<ImportPreview> preview;
        platform::RunCommand(host.services().messages,
                             [&] { preview.emplace(importing::ImportText::fromFile(fileName)); });
        if (!preview)
            continue;
        auto* window = new frmImport(host, fileName, std::move(*preview), host.widget());
        window->setWindowModality(Qt::WindowModal);
        QPointer<QWidget> main = host.widget();
        QObject::connect(window, &QDialog::finished, host.widget(), [&host, main, fileNames] {
            // Closing the main window closes this one too: nothing follows then.
            if (main && main->isVisible())
                ShowImportWindows(host, fileNames);
        });
        window->show();
        return;
    }
}
