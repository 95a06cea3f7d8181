#include "TestRunner.h"
#include "TestSupport.h"

#include "app/Form1.h"
#include "app/GestionDonnee.h"
#include "editing/EditingCommands.h"
#include "editing/Form3.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

// The main window with the editing commands and the points A, B, C.
struct Fixture {
    QTemporaryDir dir;
    ScriptedDialogs boxes;
    ScriptedFileDialog files;
    IniSettingsStore settings;
    GestionDonnee state;
    Form1 window{state, Services{boxes, boxes, files, settings}};

    explicit Fixture(bool withPoints = true) {
        // Boxes come from the editor's event handlers: recorded, never thrown.
        boxes.setThrowOnUnexpected(false);
        writeBytes(dir.filePath(QStringLiteral("atm.bin")),
                   "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\ns\r\nm\r\n");
        window.LoadMainWindow(dir.path());
        InstallEditingCommands(window);
        if (withPoints) {
            state.AddPoint(PointRecord{652345.678, 6862104.512, 152.304, QStringLiteral("A")});
            state.AddPoint(PointRecord{1.5, 2, 3, QStringLiteral("B")});
            state.AddPoint(PointRecord{7, 8, 9, QStringLiteral("C")});
            state.RefreshPointList();
        }
        window.show();
    }

    // The list row made current as a click on it does.
    void selectRow(int gridRow) {
        window.grid()->setCurrentIndex(state.Grid.index(gridRow - 1, 0));
    }
    void trigger(const char* item) { window.menuItem(QString::fromLatin1(item))->trigger(); }
    // Runs a command and makes the editor it opens the active window.
    void open(const char* item) {
        trigger(item);
        QVERIFY(editor());
        editor()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(editor()));
    }
    Form3* editor() const {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QLatin1String("Form3") && widget->isVisible())
                return static_cast<Form3*>(widget);
        }
        return nullptr;
    }
    template <typename T> T* control(const QString& name) const {
        return editor()->findChild<T*>(name);
    }
    QLineEdit* field(const QString& name) const { return control<QLineEdit>(name); }
    QString text(const QString& name) const { return field(name)->text(); }
    // Goes to the field, as the user does, and types over its text.
    void type(const QString& name, const QString& keys) {
        field(name)->setFocus();
        field(name)->clear();
        QTest::keyClicks(field(name), keys);
    }
    void click(const QString& button) { control<QPushButton>(button)->click(); }

    QStringList gridRow(int row) const {
        QStringList cells;
        for (int col = 0; col < 4; ++col)
            cells << state.Grid.textMatrix(row, col);
        return cells;
    }
    QString countLabel() const {
        return window.findChild<QLabel*>(QStringLiteral("Label1"))->text();
    }
};

} // namespace

class TestForm3 : public QObject {
    Q_OBJECT
private slots:
    void openAndClose_data();
    void openAndClose();
    void typingCoordinates_data();
    void typingCoordinates();
    void enterPoint_data();
    void enterPoint();
    void modifyPoint_data();
    void modifyPoint();
    void modifyNeedsAPointRow_data();
    void modifyNeedsAPointRow();
    void deletedRowMisalignsList();
    void searchAnswers_data();
    void searchAnswers();
};

void TestForm3::openAndClose_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("okCaption");
    QTest::addColumn<int>("buttonTop");
    QTest::addColumn<int>("height");
    QTest::newRow("enter, Annuler") << "ent_pt"
                                    << "Ok" << 36 << 88;
    QTest::newRow("search, close box") << "rech"
                                       << "Rechercher" << 60 << 113;
}

void TestForm3::openAndClose() {
    QFETCH(QString, command);
    QFETCH(QString, okCaption);
    QFETCH(int, buttonTop);
    QFETCH(int, height);
    Fixture f;
    f.open(command.toLatin1().constData());
    QPointer<Form3> editor(f.editor());
    QCOMPARE(editor->windowTitle(), QStringLiteral("Editeur de point"));
    QVERIFY(!f.window.isEnabled());
    QVERIFY(editor->isEnabled());
    QCOMPARE(f.field("Text3")->geometry(), QRect(368, 8, 85, 19));
    QCOMPARE(f.control<QPushButton>("Command1")->text(), okCaption);
    QCOMPARE(f.control<QPushButton>("Command2")->geometry(), QRect(269, buttonTop, 93, 21));
    QCOMPARE(editor->height(), height);
    QCOMPARE(f.control<QRadioButton>("Option2")->isVisible(), command == QLatin1String("rech"));
    QVERIFY(f.control<QRadioButton>("Option1")->isChecked());

    if (command == QLatin1String("rech"))
        editor->close();
    else
        f.click("Command2");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(editor.isNull());
    QVERIFY(f.window.isEnabled());
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 3"));
    QCOMPARE(f.state.DataModified, false);
    QVERIFY(f.boxes.boxes().empty());
}

void TestForm3::typingCoordinates_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("refused");
    QTest::newRow("fr point becomes comma") << true << "Text1"
                                            << "12.5"
                                            << "12,5" << 0;
    QTest::newRow("fr letter taken back") << true << "Text2"
                                          << "1a2"
                                          << "12" << 1;
    QTest::newRow("fr second comma taken back") << true << "Text3"
                                                << "1.2.3"
                                                << "1,23" << 1;
    QTest::newRow("fr exponent letter refused") << true << "Text1"
                                                << "-1e5"
                                                << "-15" << 1;
    QTest::newRow("fr only refusals") << true << "Text2"
                                      << "ab"
                                      << "" << 2;
    QTest::newRow("en comma too") << false << "Text1"
                                  << "12.5"
                                  << "12,5" << 0;
    // Under a point-decimal format the commas group digits and pass.
    QTest::newRow("en commas pass") << false << "Text3"
                                    << "1.2.3"
                                    << "1,2,3" << 0;
    QTest::newRow("identifier takes anything") << true << "Text4"
                                               << "a.b"
                                               << "a.b" << 0;
}

void TestForm3::typingCoordinates() {
    QFETCH(bool, french);
    QFETCH(QString, name);
    QFETCH(QString, keys);
    QFETCH(QString, shown);
    QFETCH(int, refused);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    f.open("ent_pt");
    for (int i = 0; i < refused; ++i)
        f.boxes.answerMessage(MsgAnswer::Ok);
    f.type(name, keys);

    QCOMPARE(f.text(name), shown);
    QCOMPARE(int(f.boxes.boxes().size()), refused);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    for (const RecordedBox& box : f.boxes.boxes()) {
        QCOMPARE(box.prompt, QStringLiteral("Coordonnée incorrecte"));
        QCOMPARE(box.title, QStringLiteral("Donnée incorrecte"));
        QCOMPARE(box.icon, MsgIcon::Information);
        QCOMPARE(box.buttons, MsgButtons::Ok);
    }
}

void TestForm3::enterPoint_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QStringList>("typed"); // Text4, Text1, Text2, Text3
    QTest::addColumn<QList<double>>("xyz");
    QTest::addColumn<QStringList>("row");
    QTest::newRow("fr") << true << QStringList{"P1", "12.5", "-3", ""} << QList<double>{12.5, -3, 0}
                        << QStringList{"P1", "12,500", "-3,000", "0,000"};
    QTest::newRow("fr all empty") << true << QStringList{"", "", "", ""} << QList<double>{0, 0, 0}
                                  << QStringList{"", "0,000", "0,000", "0,000"};
    // An identifier already listed is accepted without a word.
    QTest::newRow("fr identifier in use, trailing comma")
        << true << QStringList{"A", "1,23456", "7,", "-"} << QList<double>{1.23456, 7, 0}
        << QStringList{"A", "1,235", "7,000", "0,000"};
    QTest::newRow("en") << false << QStringList{" P2", "1.25", "2,5", "3"}
                        << QList<double>{1.25, 2.5, 3}
                        << QStringList{" P2", "1.250", "2.500", "3.000"};
}

void TestForm3::enterPoint() {
    QFETCH(bool, french);
    QFETCH(QStringList, typed);
    QFETCH(QList<double>, xyz);
    QFETCH(QStringList, row);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    f.selectRow(1); // a new point still goes to the end
    f.open("ent_pt");
    f.type("Text4", typed[0]);
    f.type("Text1", typed[1]);
    f.type("Text2", typed[2]);
    f.type("Text3", typed[3]);
    f.click("Command1");

    QVERIFY(f.boxes.boxes().empty());
    QVERIFY(!f.editor());
    QCOMPARE(f.state.PointCount, 4.0);
    const PointRecord& added = f.state.Points[3];
    QCOMPARE(added.Matricule, typed[0]);
    QCOMPARE(QList<double>({added.X, added.Y, added.Z}), xyz);
    QCOMPARE(f.state.Grid.rows(), 5);
    QCOMPARE(f.gridRow(4), row);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 4"));
    QVERIFY(f.window.isEnabled());
}

void TestForm3::modifyPoint_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QString>("typedId"); // typed over "A" when not null
    QTest::addColumn<QString>("storedId");
    QTest::addColumn<QStringList>("row");
    QTest::newRow("fr coordinates")
        << true << QString() << "A" << QStringList{"A", "10,250", "6862104,512", "152,304"};
    QTest::newRow("en coordinates")
        << false << QString() << "A" << QStringList{"A", "10.250", "6862104.512", "152.304"};
    // The list is searched for the point's own identifier, always there:
    // every change of identifier is refused and undone.
    QTest::newRow("new identifier undone")
        << true << "Z9"
        << "A" << QStringList{"A", "10,250", "6862104,512", "152,304"};
    QTest::newRow("identifier of another point undone")
        << true << "C"
        << "A" << QStringList{"A", "10,250", "6862104,512", "152,304"};
    QTest::newRow("emptied identifier kept")
        << true << ""
        << "" << QStringList{"", "10,250", "6862104,512", "152,304"};
}

void TestForm3::modifyPoint() {
    QFETCH(bool, french);
    QFETCH(QString, typedId);
    QFETCH(QString, storedId);
    QFETCH(QStringList, row);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    f.selectRow(1);
    f.open("mod_pt");
    QCOMPARE(f.state.EditMode, 2);
    QCOMPARE(f.state.SelectedIndex, 0.0);
    // Every digit of the stored value, not the list's format.
    QCOMPARE(f.text("Text1"), french ? QStringLiteral("652345,678") : QStringLiteral("652345.678"));
    QCOMPARE(f.text("Text4"), QStringLiteral("A"));
    const bool refused = !typedId.isEmpty();
    if (refused)
        f.boxes.answerMessage(MsgAnswer::Ok);
    if (!typedId.isNull())
        f.type("Text4", typedId);
    f.type("Text1", QStringLiteral("10.25"));
    QCOMPARE(f.text("Text4"), storedId);
    QVERIFY(f.field("Text1")->hasFocus());
    QCOMPARE(int(f.boxes.boxes().size()), refused ? 1 : 0);
    if (refused) {
        const RecordedBox& box = f.boxes.boxes()[0];
        QCOMPARE(box.prompt, QStringLiteral("Ce numéro de point est déjà utilisé"));
        QCOMPARE(box.title, QStringLiteral("Point existant"));
        QCOMPARE(box.icon, MsgIcon::Information);
    }
    f.click("Command1");

    QVERIFY(!f.editor());
    QCOMPARE(f.state.Points[0].Matricule, storedId);
    QCOMPARE(f.state.Points[0].X, 10.25);
    QCOMPARE(f.state.Points[0].Y, 6862104.512);
    QCOMPARE(f.state.PointCount, 3.0);
    QCOMPARE(f.gridRow(1), row);
    QCOMPARE(f.state.DataModified, true);
}

void TestForm3::modifyNeedsAPointRow_data() {
    QTest::addColumn<bool>("withPoints");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("how");
    QTest::addColumn<bool>("opens");
    QTest::newRow("menu, no points") << false << 0 << "menu" << false;
    QTest::newRow("menu, header row") << true << 0 << "menu" << false;
    QTest::newRow("List1 double click") << true << 3 << "list" << true;
    QTest::newRow("List1 double click, header row") << true << 0 << "list" << false;
    QTest::newRow("grid row double click") << true << 3 << "grid" << true;
}

void TestForm3::modifyNeedsAPointRow() {
    QFETCH(bool, withPoints);
    QFETCH(int, row);
    QFETCH(QString, how);
    QFETCH(bool, opens);
    Fixture f(withPoints);
    f.state.EditMode = 0;
    f.selectRow(row);
    f.state.Grid.setRow(row);
    if (how == QLatin1String("menu")) {
        f.trigger("mod_pt");
    } else if (how == QLatin1String("list")) {
        QTest::mouseDClick(f.window.list()->viewport(), Qt::LeftButton);
    } else {
        // A double click is a click followed by the double-click event.
        QTableView* view = f.window.grid();
        const QPoint at = view->visualRect(f.state.Grid.index(row - 1, 1)).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at);
    }
    QCOMPARE(f.editor() != nullptr, opens);
    QCOMPARE(f.state.EditMode, opens ? 2 : 0);
    if (opens)
        QCOMPARE(f.text("Text4"), QStringLiteral("C"));
    QVERIFY(f.boxes.boxes().empty());
}

void TestForm3::deletedRowMisalignsList() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    f.state.Grid.setRow(0);
    f.trigger("sup_pt");
    QCOMPARE(f.state.Grid.rows(), 4);

    f.selectRow(2);
    f.trigger("sup_pt");
    QVERIFY(f.boxes.boxes().empty());
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 2"));
    QCOMPARE(f.state.SelectedIndex, 2.0);
    QCOMPARE(f.state.PointCount, 3.0);
    QCOMPARE(f.state.DataModified, false);

    // Row 2 now shows C, but modifying it edits store entry 1, still B.
    f.selectRow(2);
    QCOMPARE(f.gridRow(2)[0], QStringLiteral("C"));
    f.trigger("mod_pt");
    QCOMPARE(f.text("Text4"), QStringLiteral("B"));
    f.click("Command1");
    QCOMPARE(f.gridRow(2), (QStringList{"B", "1,500", "2,000", "3,000"}));

    // A rebuild of the list brings every point of the store back.
    f.state.RefreshPointList();
    QCOMPARE(f.gridRow(3)[0], QStringLiteral("C"));
}

void TestForm3::searchAnswers_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<bool>("deleteFirst");
    QTest::addColumn<bool>("allFields");
    QTest::addColumn<QList<int>>("answers");
    QTest::addColumn<QString>("after"); // "modify", "search" or "closed"
    const int yes = int(MsgAnswer::Yes), no = int(MsgAnswer::No), ok = int(MsgAnswer::Ok);
    QTest::newRow("yes edits the point found")
        << true << false << false << QList<int>{yes} << "modify";
    QTest::newRow("yes after a deletion rewrites another row")
        << false << true << false << QList<int>{yes} << "modify";
    QTest::newRow("cancel empties the fields")
        << true << false << false << QList<int>{int(MsgAnswer::Cancel)} << "search";
    QTest::newRow("no walks to the end")
        << true << false << false << QList<int>{no, ok} << "closed";
    QTest::newRow("all fields finds nothing")
        << true << false << true << QList<int>{ok} << "closed";
}

void TestForm3::searchAnswers() {
    QFETCH(bool, french);
    QFETCH(bool, deleteFirst);
    QFETCH(bool, allFields);
    QFETCH(QList<int>, answers);
    QFETCH(QString, after);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    if (deleteFirst) {
        f.selectRow(1);
        f.trigger("sup_pt");
    }
    f.open("rech");
    // B exactly: the store is walked, so B is found even after a deletion.
    f.type("Text4", QStringLiteral("B"));
    f.type("Text1", QStringLiteral("1.5"));
    f.type("Text2", QStringLiteral("2"));
    f.type("Text3", QStringLiteral("3"));
    if (allFields)
        f.control<QRadioButton>("Option2")->click();
    for (int answer : answers)
        f.boxes.answerMessage(MsgAnswer(answer));
    f.click("Command1");

    QCOMPARE(f.boxes.unusedAnswers(), 0u);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    if (!allFields) {
        QCOMPARE(f.boxes.boxes()[0].prompt,
                 QStringLiteral("Point trouvé\rNum= B\rX= %1\rY= 2\rZ= 3\r\rVoulez vous l'éditer ?")
                     .arg(french ? QStringLiteral("1,5") : QStringLiteral("1.5")));
    }
    if (after == QLatin1String("closed")) {
        QCOMPARE(f.boxes.boxes().back().prompt, QStringLiteral("Recherche terminée"));
        QVERIFY(!f.editor());
        QVERIFY(f.window.isEnabled());
        return;
    }
    QVERIFY(f.editor());
    if (after == QLatin1String("search")) {
        QCOMPARE(f.text("Text4") + f.text("Text1") + f.text("Text2") + f.text("Text3"), QString());
        QCOMPARE(f.control<QPushButton>("Command1")->text(), QStringLiteral("Rechercher"));
        QCOMPARE(f.state.EditMode, 3);
        return;
    }
    // Yes: the editor now modifies store entry 1.
    QCOMPARE(f.state.EditMode, 2);
    QCOMPARE(f.state.SelectedIndex, 1.0);
    QCOMPARE(f.control<QPushButton>("Command1")->text(), QStringLiteral("Ok"));
    QCOMPARE(f.editor()->height(), 88);
    QVERIFY(!f.control<QRadioButton>("Option1")->isVisible());
    f.type("Text3", QStringLiteral("4.5"));
    f.click("Command1");
    QVERIFY(!f.editor());
    QCOMPARE(f.state.Points[1].Z, 4.5);
    // Row 2 is rewritten, though after the deletion it was showing C.
    QCOMPARE(f.gridRow(2), french ? (QStringList{"B", "1,500", "2,000", "4,500"})
                                  : (QStringList{"B", "1.500", "2.000", "4.500"}));
    QCOMPARE(f.state.Grid.rows(), deleteFirst ? 3 : 4);
}

TOVALIN_TEST(TestForm3)
#include "tst_Form3.moc"
