#include "Fixtures.h"
#include "TestRunner.h"

#include "app/FileCommands.h"
#include "platform/QtDialogs.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QTreeView>

using namespace platform;

namespace {
// A file of that many bytes listed under that regional format: its size and
// date as shown.
struct Details {
    QLocale regional;
    qint64 bytes;
    QString size, date;
};
} // namespace
Q_DECLARE_METATYPE(Details)

// Qt's own file dialog as the program shows it: French labels from Qt's
// translation, each filter once, the filter chosen remembered, and the list's
// sizes, dates and types in French under the regional format.
class TestQtFileDialog : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();
    void fileTypes_data();
    void fileTypes();
    void details_data();
    void details();
    void filtersShownOnce();

private:
    QTranslator* french_ = nullptr;
};

void TestQtFileDialog::initTestCase() {
    french_ = InstallQtFrenchTranslation(*qApp);
    QVERIFY2(french_ != nullptr, "qtbase_fr.qm (qt6-translations-l10n) not found");
}

void TestQtFileDialog::cleanupTestCase() {
    QCoreApplication::removeTranslator(french_);
    delete french_;
}

void TestQtFileDialog::cleanup() {
    QLocale::setDefault(QLocale::c());
}

void TestQtFileDialog::fileTypes_data() {
    testing::Rows<std::pair<QString, QString>> row; // Qt's type, the type shown
    row("folder", {"Folder", "Dossier"});
    row("drive", {"Drive", "Lecteur"});
    row("link", {"Shortcut", "Raccourci"});
    row("file", {"File", "Fichier"});
    row("by suffix", {"xyz File", "Fichier xyz"});
    row("MIME comment", {"document brut", "document brut"});
    row("already French", {"Dossier", "Dossier"});
    row("File inside a word", {"Profile", "Profile"});
}

void TestQtFileDialog::fileTypes() {
    using Type = std::pair<QString, QString>;
    QFETCH(Type, c);
    QCOMPARE(FrenchFileType(c.first), c.second);
}

void TestQtFileDialog::details_data() {
    testing::Rows<Details> row;
    const QLocale french(QLocale::French, QLocale::France);
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    row("French, bytes", {french, 235, "235 octets", "05/03/2026 14:07"});
    row("French, kibibytes", {french, 1400, "1,37 Kio", "05/03/2026 14:07"});
    row("English, kibibytes", {english, 1400, "1.37 KiB", "3/5/26"});
}

// The list of a real folder through Qt's file model, read back as the
// dialog's view reads it.
void TestQtFileDialog::details() {
    QFETCH(Details, c);
    const auto& [regional, bytes, size, date] = c;
    QLocale::setDefault(regional);
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("levés")));
    QFile file(folder.filePath(QStringLiteral("points.xyz")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(QByteArray(bytes, 'x')) == bytes);
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(QDateTime(QDate(2026, 3, 5), QTime(14, 7)),
                             QFileDevice::FileModificationTime));
    file.close();

    QFileSystemModel files;
    FileDetailsModel details;
    details.setSourceModel(&files);
    const QModelIndex root = details.mapFromSource(files.setRootPath(folder.path()));
    QTRY_COMPARE(details.rowCount(root), 2);
    auto row = [&](const QString& name) {
        for (int r = 0; r < details.rowCount(root); ++r) {
            if (details.index(r, 0, root).data().toString() == name)
                return r;
        }
        return -1;
    };
    const int fileRow = row(QStringLiteral("points.xyz"));
    const int folderRow = row(QStringLiteral("levés"));
    QVERIFY(fileRow >= 0 && folderRow >= 0);
    auto text = [&](int r, int column) { return details.index(r, column, root).data().toString(); };
    QTRY_COMPARE(text(fileRow, 1), size);
    QVERIFY2(text(fileRow, 3).startsWith(date), qPrintable(text(fileRow, 3)));
    QCOMPARE(text(folderRow, 1), QString());
    QCOMPARE(text(folderRow, 2), QStringLiteral("Dossier"));
    // Other roles and the name are Qt's own.
    QCOMPARE(
        details.index(fileRow, 1, root).data(Qt::TextAlignmentRole),
        files.index(folder.filePath(QStringLiteral("points.xyz")), 1).data(Qt::TextAlignmentRole));
}

// The open dialog as the program shows it: Qt's widget dialog in French,
// each filter shown once by its description; the filter chosen is the index
// returned and the one selected next time.
void TestQtFileDialog::filtersShownOnce() {
    QTemporaryDir folder;
    const QString chosen = folder.filePath(QStringLiteral("plan.dxf"));
    QFile file(chosen);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QtFileDialogService service;

    auto seen = std::make_shared<QStringList>();
    auto selected = std::make_shared<int>(-1);
    auto answer = [seen, selected](const QString& name, int filter) {
        QTimer::singleShot(0, [=] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            QVERIFY(dialog->testOption(QFileDialog::DontUseNativeDialog));
            auto* types = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
            auto* lookIn = dialog->findChild<QLabel*>(QStringLiteral("lookInLabel"));
            auto* nameEdit = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            QVERIFY(types != nullptr && lookIn != nullptr && nameEdit != nullptr);
            QCOMPARE(lookIn->text(), QStringLiteral("Voir dans :"));
            seen->clear();
            for (int i = 0; i < types->count(); ++i)
                *seen << types->itemText(i);
            *selected = types->currentIndex();
            if (filter >= 0)
                types->setCurrentIndex(filter);
            nameEdit->setText(name);
            static_cast<QDialog*>(dialog)->accept(); // QFileDialog::accept, protected
        });
    };

    answer(chosen, 1);
    FileDialogResult result = service.showOpen(QString(), filters::open());
    const QStringList once{QStringLiteral("Fichier de points XYZ [*.*]"),
                           QStringLiteral("Fichier d'échange DXF [*.dxf]")};
    QCOMPARE(*seen, once);
    QCOMPARE(*selected, 0);
    QCOMPARE(result.fileName, chosen);
    QCOMPARE(result.fileTitle, QStringLiteral("plan.dxf"));
    QCOMPARE(result.filterIndex, 2);

    answer(chosen, -1);
    result = service.showOpen(QString(), filters::open());
    QCOMPARE(*selected, 1);
    QCOMPARE(result.filterIndex, 2);
}

TOVALIN_TEST(TestQtFileDialog)
#include "tst_QtFileDialog.moc"
