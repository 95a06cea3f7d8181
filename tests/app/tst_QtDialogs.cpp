#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "platform/QtDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <QTranslator>

using namespace platform;

namespace {

// Runs `act` on the modal box once the event loop that shows it has started.
void whenShown(const std::function<void(QWidget*)>& act) {
    QTimer::singleShot(0, [act] {
        QWidget* box = QApplication::activeModalWidget();
        QVERIFY(box != nullptr);
        act(box);
    });
}

// A file of that many bytes listed under that regional format: its size and
// date as shown.
struct Details {
    QLocale regional;
    qint64 bytes;
    QString size, date;
};

} // namespace
Q_DECLARE_METATYPE(Details)

// The real message, input and file boxes, as a user sees them: each read
// from the open box, which is then answered as a user would.
class TestQtDialogs : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup() { QLocale::setDefault(QLocale::c()); }
    void lineBreaks_data();
    void lineBreaks();
    void keyboard_data();
    void keyboard();
    void fileTypes_data();
    void fileTypes();
    void details_data();
    void details();
    void filtersShownOnce();

private:
    QTranslator* french_ = nullptr;
};

void TestQtDialogs::initTestCase() {
    french_ = InstallQtFrenchTranslation(*qApp);
    QVERIFY2(french_ != nullptr, "qtbase_fr.qm (qt6-translations-l10n) not found");
}

void TestQtDialogs::cleanupTestCase() {
    QCoreApplication::removeTranslator(french_);
    delete french_;
}

void TestQtDialogs::lineBreaks_data() {
    testing::Rows<std::pair<QString, QString>> row; // the prompt, the text shown
    row("lone CR", {"Entrez la taille\rExemple : 1", "Entrez la taille\nExemple : 1"});
    row("CR LF", {"Une erreur\r\nVous devez", "Une erreur\nVous devez"});
    row("lone LF", {"a\nb", "a\nb"});
    row("CR CR", {"Point trouvé\r\rNum= 9", "Point trouvé\n\nNum= 9"});
}

// The text each box shows, read from the open box, which its close box ends.
void TestQtDialogs::lineBreaks() {
    using Break = std::pair<QString, QString>;
    QFETCH(Break, c);
    const auto& [prompt, shown] = c;
    for (const bool input : {false, true}) {
        auto texts = std::make_shared<QStringList>();
        whenShown([texts](QWidget* box) {
            for (QLabel* label : box->findChildren<QLabel*>()) {
                if (!label->text().isEmpty() && label->isVisible())
                    *texts << label->text();
            }
            box->close();
        });
        if (input)
            QtInputBoxService().ask(prompt, QStringLiteral("Titre"), QStringLiteral("1"));
        else
            QtMessageBoxService().show(prompt, MsgButtons::Ok, MsgIcon::None,
                                       QStringLiteral("Titre"));
        QVERIFY2(texts->contains(shown), qPrintable(texts->join(u'|')));
    }
}

void TestQtDialogs::keyboard_data() {
    QTest::addColumn<MsgButtons>("buttons");
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<MsgAnswer>("answer");
    const auto alt = Qt::KeyboardModifiers(Qt::AltModifier);
    const auto none = Qt::KeyboardModifiers(Qt::NoModifier);
    const MsgButtons yesNo = MsgButtons::YesNo, three = MsgButtons::YesNoCancel;
    QTest::newRow("Alt+O, Oui") << yesNo << int(Qt::Key_O) << alt << MsgAnswer::Yes;
    QTest::newRow("Alt+N, Non") << yesNo << int(Qt::Key_N) << alt << MsgAnswer::No;
    QTest::newRow("O alone") << yesNo << int(Qt::Key_O) << none << MsgAnswer::Yes;
    QTest::newRow("N alone") << three << int(Qt::Key_N) << none << MsgAnswer::No;
    QTest::newRow("Alt+A, Annuler") << three << int(Qt::Key_A) << alt << MsgAnswer::Cancel;
    QTest::newRow("Escape, Non") << yesNo << int(Qt::Key_Escape) << none << MsgAnswer::No;
    QTest::newRow("Escape, Annuler") << three << int(Qt::Key_Escape) << none << MsgAnswer::Cancel;
    QTest::newRow("Return, Oui first") << three << int(Qt::Key_Return) << none << MsgAnswer::Yes;
}

// Oui, Non and Annuler from the keyboard, with the letters a French desktop
// underlines; the captions read without the mark are the plain words.
void TestQtDialogs::keyboard() {
    QFETCH(MsgButtons, buttons);
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(MsgAnswer, answer);
    auto captions = std::make_shared<QStringList>();
    auto leftOpen = std::make_shared<bool>(false);
    whenShown([=](QWidget* box) {
        // Shortcuts reach the active window only.
        QVERIFY(QTest::qWaitForWindowActive(box));
        for (QAbstractButton* button : box->findChildren<QAbstractButton*>()) {
            if (button->isVisible())
                *captions << QString(button->text()).remove(u'&');
        }
        QTest::keyClick(box, Qt::Key(key), modifiers);
        // A key that answers nothing would leave the box open: note it and
        // close the box so the run goes on.
        const QPointer<QWidget> shown(box);
        if (!QTest::qWaitFor([shown] { return shown.isNull() || !shown->isVisible(); }, 2000)) {
            *leftOpen = true;
            shown->close();
        }
    });
    const MsgAnswer got =
        QtMessageBoxService().show(QStringLiteral("Voulez vous ajouter le fichier à ouvrir ?"),
                                   buttons, MsgIcon::Question, QStringLiteral("Ouvrir"));
    captions->sort();
    QCOMPARE(captions->join(u' '), buttons == MsgButtons::YesNo
                                       ? QStringLiteral("Non Oui")
                                       : QStringLiteral("Annuler Non Oui"));
    QVERIFY2(!*leftOpen, "the key left the box open");
    QCOMPARE(got, answer);
}

void TestQtDialogs::fileTypes_data() {
    testing::Rows<std::pair<QString, QString>> row; // Qt's type, the type shown
    row("folder", {"Folder", "Dossier"});
    row("drive", {"Drive", "Lecteur"});
    row("link", {"Shortcut", "Raccourci"});
    row("file", {"File", "Fichier"});
    row("by suffix", {"xyz File", "Fichier xyz"});
    row("MIME comment", {"document brut", "document brut"});
    row("File inside a word", {"Profile", "Profile"});
}

void TestQtDialogs::fileTypes() {
    using Type = std::pair<QString, QString>;
    QFETCH(Type, c);
    QCOMPARE(FrenchFileType(c.first), c.second);
}

void TestQtDialogs::details_data() {
    testing::Rows<Details> row;
    const QLocale french(QLocale::French, QLocale::France);
    row("French, bytes", {french, 235, "235 octets", "05/03/2026 14:07"});
    row("French, kibibytes", {french, 1400, "1,37 Kio", "05/03/2026 14:07"});
    row("English, kibibytes", {QLocale(QLocale::English), 1400, "1.37 KiB", "3/5/26"});
}

// The list of a real folder through Qt's file model, read back as the file
// dialog's view reads it: sizes, dates and types in French under the
// regional format.
void TestQtDialogs::details() {
    QFETCH(Details, c);
    QLocale::setDefault(c.regional);
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("levés")));
    QFile file(folder.filePath(QStringLiteral("points.xyz")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(QByteArray(c.bytes, 'x')) == c.bytes && file.flush());
    QVERIFY(file.setFileTime(QDateTime(QDate(2026, 3, 5), QTime(14, 7)),
                             QFileDevice::FileModificationTime));
    file.close();

    QFileSystemModel files;
    FileDetailsModel details;
    details.setSourceModel(&files);
    const QModelIndex root = details.mapFromSource(files.setRootPath(folder.path()));
    auto text = [&](const QString& name, int column) {
        for (int r = 0; r < details.rowCount(root); ++r) {
            if (details.index(r, 0, root).data().toString() == name)
                return details.index(r, column, root).data().toString();
        }
        return QStringLiteral("?");
    };
    QTRY_COMPARE(text(QStringLiteral("points.xyz"), 1), c.size);
    const QString date = text(QStringLiteral("points.xyz"), 3);
    QVERIFY2(date.startsWith(c.date), qPrintable(date));
    QCOMPARE(text(QStringLiteral("levés"), 1) + u'|' + text(QStringLiteral("levés"), 2),
             QStringLiteral("|Dossier"));
    // Other roles are Qt's own.
    const QModelIndex size = files.index(file.fileName(), 1);
    QCOMPARE(details.mapFromSource(size).data(Qt::TextAlignmentRole),
             size.data(Qt::TextAlignmentRole));
}

// The open dialog as the program shows it: Qt's widget dialog in French,
// each filter shown once by its description; the filter chosen is the index
// returned and the one selected next time.
void TestQtDialogs::filtersShownOnce() {
    QTemporaryDir folder;
    const QString chosen = folder.filePath(QStringLiteral("plan.dxf"));
    testing::writeBytes(chosen, "");
    QtFileDialogService service;
    auto seen = std::make_shared<QStringList>();
    auto answer = [seen](const QString& name, int filter) {
        whenShown([=](QWidget* box) {
            auto* dialog = qobject_cast<QFileDialog*>(box);
            QVERIFY(dialog != nullptr && dialog->testOption(QFileDialog::DontUseNativeDialog));
            auto* types = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
            QCOMPARE(dialog->findChild<QLabel*>(QStringLiteral("lookInLabel"))->text(),
                     QStringLiteral("Voir dans :"));
            seen->clear();
            for (int i = 0; i < types->count(); ++i)
                *seen << types->itemText(i);
            *seen << QString::number(types->currentIndex());
            if (filter >= 0)
                types->setCurrentIndex(filter);
            dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(name);
            static_cast<QDialog*>(dialog)->accept(); // QFileDialog::accept, protected
        });
    };

    answer(chosen, 1);
    FileDialogResult result = service.showOpen(QString(), filters::open());
    QCOMPARE(*seen,
             QStringList({"Fichier de points XYZ [*.*]", "Fichier d'échange DXF [*.dxf]", "0"}));
    QCOMPARE(result.fileName, chosen);
    QCOMPARE(result.fileTitle, QStringLiteral("plan.dxf"));
    QCOMPARE(result.filterIndex, 2);

    answer(chosen, -1);
    result = service.showOpen(QString(), filters::open());
    QCOMPARE(seen->last(), QStringLiteral("1"));
    QCOMPARE(result.filterIndex, 2);
}

TOVALIN_TEST(TestQtDialogs)
#include "tst_QtDialogs.moc"
