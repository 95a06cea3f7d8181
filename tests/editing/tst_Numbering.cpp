#include "TestRunner.h"
#include "TestSupport.h"

#include "app/Form1.h"
#include "app/GestionDonnee.h"
#include "editing/Form5.h"
#include "editing/FormatDonnee.h"
#include "editing/Numbering.h"
#include "editing/NumberingCommands.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

class RecordingProgress : public Progress {
public:
    QStringList captions;
    void setCaption(const QString& caption) override { captions << caption; }
    void tick() override {}
};

// Three points A, B, C in the store and the list, and the dialog over them.
struct Fixture {
    GestionDonnee state;
    ScriptedDialogs boxes;
    Form5 dialog{state, boxes};

    explicit Fixture(const QStringList& names = {"A", "B", "C"}) {
        // Boxes come from the dialog's slots: recorded, never thrown.
        boxes.setThrowOnUnexpected(false);
        double x = 1.25;
        for (const QString& name : names)
            state.AddPoint(PointRecord{x++, 2.5, 3.0, name});
        state.RefreshPointList();
    }
    template <typename T> T* control(const char* name) {
        T* found = dialog.findChild<T*>(QString::fromLatin1(name));
        if (found == nullptr)
            qFatal("control %s missing", name);
        return found;
    }
    void setMode(const QString& mode) {
        if (mode == QLatin1String("Re")) {
            control<QRadioButton>("OptRe")->click();
        } else {
            control<QRadioButton>("OptAj")->click();
            control<QRadioButton>(mode == QLatin1String("Av") ? "OptAjAv" : "OptAjAp")->click();
        }
    }
    QStringList stored() const {
        QStringList out;
        for (int i = 0; i < int(state.PointCount); ++i)
            out << state.Points[i].Matricule;
        return out;
    }
    QStringList listed() const {
        QStringList out;
        for (int row = 1; row < state.Grid.rows(); ++row)
            out << state.Grid.textMatrix(row, 0);
        return out;
    }
};

} // namespace

class TestNumbering : public QObject {
    Q_OBJECT
private slots:
    void numbering_data();
    void numbering();
    void floatCounter_data();
    void floatCounter();
    void refusals_data();
    void refusals();
    void frame3FollowsTheMode();
    void emptyStoreStillRebuildsTheList();
    void deletedRowsAreNumberedAndComeBack();
    void captionsDuringARun();
    void menusOpenOneDialogEach();
};

void TestNumbering::numbering_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<bool>("textNumbering");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("withNumber");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("expected");

    const QString none;
    QTest::newRow("numeric, replace") << true << false << none << false << "1"
                                      << "Re" << QStringList{"1", "2", "3"};
    QTest::newRow("numeric, before") << true << false << none << false << "1"
                                     << "Av" << QStringList{"1A", "2B", "3C"};
    QTest::newRow("numeric, after") << false << false << none << false << "1"
                                    << "Ap" << QStringList{"A1", "B2", "C3"};
    QTest::newRow("negative start") << false << false << none << false << "-2"
                                    << "Re" << QStringList{"-2", "-1", "0"};
    QTest::newRow("fraction, French") << true << false << none << false << "0,5"
                                      << "Re" << QStringList{"0,5", "1,5", "2,5"};
    QTest::newRow("fraction, English") << false << false << none << false << "0.5"
                                       << "Re" << QStringList{"0.5", "1.5", "2.5"};
    // The comma groups digits in English: "1,5" is fifteen.
    QTest::newRow("English comma groups") << false << false << none << false << "1,5"
                                          << "Re" << QStringList{"15", "16", "17"};
    QTest::newRow("blanks around the start") << true << false << none << false << " 7 "
                                             << "Re" << QStringList{"7", "8", "9"};

    QTest::newRow("text with number") << true << true << "abc*de" << true << "1"
                                      << "Re" << QStringList{"abc1de", "abc2de", "abc3de"};
    QTest::newRow("text without number") << true << true << "abc*de" << false << "1"
                                         << "Re" << QStringList{"abcde", "abcde", "abcde"};
    // Not ticked, the start field is not read at all.
    QTest::newRow("unticked ignores a bad start")
        << true << true << "abc*de" << false << "x"
        << "Ap" << QStringList{"Aabcde", "Babcde", "Cabcde"};
    QTest::newRow("later asterisks stay") << true << true << "a*b*c" << true << "8"
                                          << "Re" << QStringList{"a8b*c", "a9b*c", "a10b*c"};
    QTest::newRow("text before") << false << true << "P*-" << true << "0.5"
                                 << "Av" << QStringList{"P0.5-A", "P1.5-B", "P2.5-C"};
    QTest::newRow("text after") << true << true << "-*" << true << "1"
                                << "Ap" << QStringList{"A-1", "B-2", "C-3"};
    // Without an asterisk the text itself gives nothing: only the number is
    // left, or nothing at all, which empties the identifiers when replacing.
    QTest::newRow("no asterisk, ticked") << true << true << "abc" << true << "1"
                                         << "Re" << QStringList{"1", "2", "3"};
    QTest::newRow("no asterisk, replace") << true << true << "abc" << false << "1"
                                          << "Re" << QStringList{"", "", ""};
    QTest::newRow("no asterisk, add") << true << true << "abc" << false << "1"
                                      << "Av" << QStringList{"A", "B", "C"};
}

void TestNumbering::numbering() {
    QFETCH(bool, french);
    QFETCH(bool, textNumbering);
    QFETCH(QString, text);
    QFETCH(bool, withNumber);
    QFETCH(QString, start);
    QFETCH(QString, mode);
    QFETCH(QStringList, expected);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    f.setMode(mode);
    if (textNumbering) {
        f.control<QLineEdit>("Text4")->setText(text);
        f.control<QCheckBox>("Check1")->setChecked(withNumber);
        f.control<QLineEdit>("Text3")->setText(start);
        f.control<QPushButton>("Command2")->click();
    } else {
        f.control<QLineEdit>("Text1")->setText(start);
        f.control<QPushButton>("Command1")->click();
    }

    QCOMPARE(f.boxes.boxes().size(), 0u);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    QCOMPARE(f.stored(), expected);
    QCOMPARE(f.listed(), expected);
    QVERIFY(f.state.Points[0].X == 1.25);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.dialog.windowTitle(), QStringLiteral("Immatriculation"));
    QVERIFY(f.dialog.isEnabled());

    // A second run starts again from the start field, not where the first ended.
    f.control<QPushButton>(textNumbering ? "Command2" : "Command1")->click();
    if (mode == QLatin1String("Re"))
        QCOMPARE(f.stored(), expected);
}

void TestNumbering::floatCounter_data() {
    QTest::addColumn<QString>("start");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<float>("counterAfter");
    QTest::newRow("seven digits, then exponent")
        << "9999998" << QStringList{"9999998", "9999999", "1E+07"} << 10000001.0f;
    // Past 16777216 adding one no longer changes a 32-bit float.
    QTest::newRow("past 2^24 the counter stops")
        << "16777216" << QStringList{"1,677722E+07", "1,677722E+07", "1,677722E+07"} << 16777216.0f;
    // Counted in 32-bit float arithmetic, not in double.
    QTest::newRow("start rounded to a float")
        << "0,1" << QStringList{"0,1", "1,1", "2,1"} << 0.1f + 1.0f + 1.0f + 1.0f;
}

void TestNumbering::floatCounter() {
    QFETCH(QString, start);
    QFETCH(QStringList, expected);
    QFETCH(float, counterAfter);
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    f.control<QLineEdit>("Text1")->setText(start);
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.stored(), expected);
    // Exactly: QCOMPARE on floats would forgive the lost units.
    QVERIFY2(f.dialog.numberingCounter() == counterAfter,
             qPrintable(DefaultText(f.dialog.numberingCounter())));

    // The text numbering shows the counter the same way.
    f.control<QRadioButton>("OptAj")->click();
    f.control<QLineEdit>("Text4")->setText(QStringLiteral("*"));
    f.control<QCheckBox>("Check1")->setChecked(true);
    f.control<QLineEdit>("Text3")->setText(start);
    f.control<QPushButton>("Command2")->click();
    QCOMPARE(f.state.Points[2].Matricule, expected[2] + expected[2]);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestNumbering::refusals_data() {
    QTest::addColumn<bool>("textNumbering");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("withNumber");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("prompt");
    const QString badNumber = QStringLiteral("Vous devez entrer un nombre correct");
    const QString noText = QStringLiteral("Vous devez entrer un texte à insérer");
    QTest::newRow("empty start") << false << "" << false << "" << badNumber;
    QTest::newRow("letters") << false << "" << false << "12a" << badNumber;
    QTest::newRow("point in French") << false << "" << false << "1.5" << badNumber;
    QTest::newRow("bad start, ticked") << true << "x*" << true << "deux" << badNumber;
    QTest::newRow("empty text") << true << "" << false << "1" << noText;
    QTest::newRow("empty text comes first") << true << "" << true << "deux" << noText;
}

void TestNumbering::refusals() {
    QFETCH(bool, textNumbering);
    QFETCH(QString, text);
    QFETCH(bool, withNumber);
    QFETCH(QString, start);
    QFETCH(QString, prompt);
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    f.state.Grid.removeItem(1); // a rebuild would bring it back
    if (textNumbering) {
        f.control<QLineEdit>("Text4")->setText(text);
        f.control<QCheckBox>("Check1")->setChecked(withNumber);
        f.control<QLineEdit>("Text3")->setText(start);
    } else {
        f.control<QLineEdit>("Text1")->setText(start);
    }
    f.boxes.answerMessage(MsgAnswer::Ok);
    f.control<QPushButton>(textNumbering ? "Command2" : "Command1")->click();

    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    QCOMPARE(f.boxes.boxes().size(), 1u);
    const RecordedBox& box = f.boxes.boxes()[0];
    QCOMPARE(box.prompt, prompt);
    QCOMPARE(box.icon, MsgIcon::Critical);
    QCOMPARE(box.buttons, MsgButtons::Ok);
    QCOMPARE(box.title, QStringLiteral("Tovalin"));
    QCOMPARE(f.stored(), (QStringList{"A", "B", "C"}));
    QCOMPARE(f.listed(), (QStringList{"B", "C"}));
    QCOMPARE(f.state.DataModified, false);
    QVERIFY(f.dialog.isEnabled());
}

void TestNumbering::frame3FollowsTheMode() {
    Fixture f;
    auto* frame3 = f.control<QGroupBox>("Frame3");
    auto* replace = f.control<QRadioButton>("OptRe");
    auto* add = f.control<QRadioButton>("OptAj");
    f.dialog.show();
    QVERIFY(replace->isChecked());
    QVERIFY(f.control<QRadioButton>("OptAjAp")->isChecked());
    QVERIFY(!frame3->isEnabled());

    QTest::mouseClick(add, Qt::LeftButton, {}, QPoint(5, add->height() / 2));
    QVERIFY(add->isChecked());
    QVERIFY(frame3->isEnabled());
    // The side is a choice of its own: picking one keeps "Ajouter".
    f.control<QRadioButton>("OptAjAv")->click();
    QVERIFY(add->isChecked());

    QTest::mouseClick(replace, Qt::LeftButton, {}, QPoint(5, replace->height() / 2));
    QVERIFY(replace->isChecked());
    QVERIFY(!frame3->isEnabled());
    // "Avant" is still chosen in the disabled frame, and does nothing.
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.stored(), (QStringList{"1", "2", "3"}));
    // A run leaves the frame as the mode had it.
    QVERIFY(!frame3->isEnabled());
    add->click();
    f.control<QPushButton>("Command1")->click();
    QVERIFY(frame3->isEnabled());
    QCOMPARE(f.stored(), (QStringList{"11", "22", "33"}));
}

void TestNumbering::emptyStoreStillRebuildsTheList() {
    Fixture f(QStringList{});
    f.state.Grid.addItem(u"stale\t1\t2\t3");
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.state.Grid.rows(), 1);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.dialog.windowTitle(), QStringLiteral("Immatriculation"));
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestNumbering::deletedRowsAreNumberedAndComeBack() {
    Fixture f(QStringList{"A", "B", "C", "D"});
    f.state.Grid.removeItem(2);
    f.state.Grid.removeItem(2);
    f.control<QLineEdit>("Text1")->setText(QStringLiteral("10"));
    f.control<QPushButton>("Command1")->click();
    QCOMPARE(f.stored(), (QStringList{"10", "11", "12", "13"}));
    QCOMPARE(f.listed(), (QStringList{"10", "11", "12", "13"}));
}

void TestNumbering::captionsDuringARun() {
    GestionDonnee state;
    for (const char* name : {"A", "B", "C"})
        state.AddPoint(PointRecord{0, 0, 0, QString::fromLatin1(name)});
    ScriptedDialogs boxes;
    RecordingProgress progress;
    float counter = 0;
    QVERIFY(NumberPointsWithText(state, boxes, QStringLiteral("n*"), true, QStringLiteral("5"),
                                 NumberingMode::Replace, counter, progress));
    QCOMPARE(progress.captions,
             (QStringList{"Immatriculation 1/3", "Immatriculation 2/3", "Immatriculation 3/3",
                          "Affichage en cours...", "Immatriculation"}));
    QVERIFY(counter == 8.0f);
    // Unticked, the counter still counts though nothing shows it.
    QVERIFY(NumberPointsWithText(state, boxes, QStringLiteral("n*"), false, QString(),
                                 NumberingMode::Replace, counter, progress));
    QVERIFY(counter == 11.0f);
}

void TestNumbering::menusOpenOneDialogEach() {
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    ScriptedFileDialog files;
    IniSettingsStore settings;
    settings.setValue(QStringLiteral("App"), QStringLiteral("SepSys"), QStringLiteral("0"));
    GestionDonnee state;
    Form1 window(state, Services{boxes, boxes, files, settings});
    writeBytes(dir.filePath(QStringLiteral("atm.bin")), "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\n7\r\n8\r\n");
    window.LoadMainWindow(dir.path());
    InstallNumberingAndFormatCommands(window);
    state.AddPoint(PointRecord{1234.5, 2, 3, QStringLiteral("A")});
    state.RefreshPointList();

    QAction* numbering = window.menuItem(QStringLiteral("MnuImmatriculation"));
    QAction* format = window.menuItem(QStringLiteral("Mnu_Format"));
    QVERIFY(numbering && format);
    numbering->trigger();
    numbering->trigger();
    format->trigger();
    format->trigger();
    QCOMPARE(window.findChildren<Form5*>().size(), 1);
    QCOMPARE(window.findChildren<FormatDonnee*>().size(), 1);
    Form5* dialog = window.findChildren<Form5*>()[0];
    FormatDonnee* formatDialog = window.findChildren<FormatDonnee*>()[0];
    QVERIFY(dialog->isVisible() && !dialog->isModal());
    QVERIFY(formatDialog->isVisible() && !formatDialog->isModal());
    QCOMPARE(formatDialog->windowTitle(), QStringLiteral("Format des données"));

    // Numeric, but too large for the counter: the main window reports the
    // error and nothing changes.
    dialog->findChild<QLineEdit*>(QStringLiteral("Text1"))->setText(QStringLiteral("1E+39"));
    boxes.answerMessage(MsgAnswer::Ok);
    dialog->findChild<QPushButton*>(QStringLiteral("Command1"))->click();
    QCOMPARE(boxes.unexpectedBoxes(), 0);
    QCOMPARE(boxes.boxes().size(), 1u);
    QVERIFY(boxes.boxes()[0].prompt.startsWith(QStringLiteral("Erreur d'exécution '6'")));
    QCOMPARE(state.Points[0].Matricule, QStringLiteral("A"));
    QVERIFY(window.menuBar()->isEnabled());

    formatDialog->findChild<QCheckBox*>(QStringLiteral("Check1"))->click();
    formatDialog->findChild<QPushButton*>(QStringLiteral("Command1"))->click();
    QCOMPARE(state.Grid.textMatrix(1, 1), QStringLiteral("1\u202F234,500"));
    QCOMPARE(settings.value(QStringLiteral("App"), QStringLiteral("SepSys"), QString()),
             QStringLiteral("1"));

    // Closed, they are gone; the menus open fresh ones.
    dialog->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(window.findChildren<Form5*>().size(), 0);
    QCOMPARE(window.findChildren<FormatDonnee*>().size(), 0);
    numbering->trigger();
    format->trigger();
    QCOMPARE(
        window.findChildren<Form5*>()[0]->findChild<QLineEdit*>(QStringLiteral("Text1"))->text(),
        QStringLiteral("1"));
    QVERIFY(window.findChildren<FormatDonnee*>()[0]
                ->findChild<QCheckBox*>(QStringLiteral("Check1"))
                ->isChecked());
}

TOVALIN_TEST(TestNumbering)
#include "tst_Numbering.moc"
