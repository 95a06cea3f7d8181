#include "ProgramFixture.h"
#include "TestRunner.h"

#include "editing/EditingCommands.h"
#include "editing/Form3.h"
#include "editing/PointEditing.h"

#include <QMenu>

using namespace testing;
using namespace platform;

namespace {

const QString badCoordinate =
    QStringLiteral("Donnée incorrecte: Coordonnée incorrecte [information ok]");
const QString inUse =
    QStringLiteral("Point existant: Ce numéro de point est déjà utilisé [information ok]");
const std::vector<PointRecord> abc{
    {652345.678, 6862104.512, 152.304, "A"}, {1.5, 2, 3, "B"}, {7, 8, 9, "C"}};

// The main window with the editing commands and the points A, B, C.
struct Fixture : WindowFixture {
    explicit Fixture(bool withPoints = true)
        : WindowFixture(withPoints ? abc : std::vector<PointRecord>()) {
        InstallEditingCommands(window);
        window.show();
    }
    // The list row made current as a click on it does.
    void selectRow(int row) { window.grid()->setCurrentIndex(state.Grid.index(row - 1, 0)); }
    // Runs a command and makes the editor it opens the active window.
    void open(const char* item) {
        // An editor closed before is deleted first, as between two commands.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        trigger(item);
        QVERIFY(editor());
        editor()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(editor()));
        // The main window waits for the editor: no command, no list.
        QVERIFY(!window.menuBar()->isEnabled() && !window.centralWidget()->isEnabled());
    }
    Form3* editor() const {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QLatin1String("Form3") && widget->isVisible())
                return static_cast<Form3*>(widget);
        }
        return nullptr;
    }
    template <typename T = QLineEdit> T* control(const QString& name) const {
        return editor()->findChild<T*>(name);
    }
    QString text(const QString& name) const { return control(name)->text(); }
    QString fields() const {
        return QStringList{text("Text4"), text("Text1"), text("Text2"), text("Text3")}.join(u'|');
    }
    void click(const QString& button) { control<QPushButton>(button)->click(); }
    // Goes to the field, as the user does, and types over its text.
    void type(const QString& name, const QString& keys) {
        control(name)->setFocus();
        control(name)->clear();
        QTest::keyClicks(control(name), keys);
    }
    // Types "Text4|Text1|Text2|Text3", "~" leaving a field alone; returns the
    // last field typed in.
    QString typeAll(const QString& typed) {
        const QStringList keys = typed.split(u'|');
        const QStringList names{"Text4", "Text1", "Text2", "Text3"};
        QString last;
        for (int i = 0; i < 4; ++i) {
            if (keys[i] != u"~")
                type(last = names[i], keys[i]);
        }
        return last;
    }
};

struct Edit {
    bool french;
    QString command;
    QString typed;
    QString shown;  // the fields before "Ok"; "" not checked
    QString stored; // the point after "Ok"
    QString listed; // its row
    QStringList boxes = {};
};

// One search over the store, as the editor runs it.
struct Walk {
    QString fields;    // Text4|Text1|Text2|Text3 after "Ok"
    QString answers;   // Y, N, C: one per find
    QStringList found; // identifiers announced, then "end" when finished
    SearchOutcome::Kind outcome;
    int index;
    double count = 4; // PointCount
};

} // namespace
Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(Walk)

class TestForm3 : public QObject {
    Q_OBJECT
private slots:
    void editPoint_data();
    void editPoint();
    void modifyNeedsAPointRow();
    void returnAndEscape();
    void deleteThenSearch();
    void walk_data();
    void walk();
    void otherWindowsStayUsable();
};

void TestForm3::editPoint_data() {
    Rows<Edit> row;
    // A new point goes to the end, whatever row is current. Coordinates take
    // "." as ",", and a refused character is taken back at once.
    row("enter fr", {true, "ent_pt", "P.1|12.5|1a2|ab", "P.1|12,5|12|", "P.1|12.5|12|0",
                     "P.1|12,500|12,000|0,000", QStringList(3, badCoordinate)});
    // A second comma is refused as it is typed; one at the end is not.
    row("enter fr commas",
        {true, "ent_pt", "Q|1,2,3|12,5,|12,5", "Q|1,23|12,5|12,5", "Q|1.23|12.5|12.5",
         "Q|1,230|12,500|12,500", QStringList(2, badCoordinate)});
    // An identifier already listed is accepted without a word.
    row("enter identifier in use", {true, "ent_pt", "A|1,23456|7,|-", "A|1,23456|7,|-",
                                    "A|1.23456|7|0", "A|1,235|7,000|0,000"});
    // Typed under a point-decimal format the commas group digits and pass;
    // "Ok" reads the first one as the decimal mark.
    row("enter en", {false, "ent_pt", " P2|1.25|2,5|1.2.3", " P2|1,25|2,5|1,2,3",
                     " P2|1.25|2.5|1.2", " P2|1.250|2.500|1.200"});
    const QString a = QStringLiteral("A|10.25|6862104.512|152.304");
    const QString listed = QStringLiteral("A|10,250|6862104,512|152,304");
    row("modify", {true, "mod_pt", "~|10.25|~|~", "A|10,25|6862104,512|152,304", a, listed});
    // The list is searched for the point's own identifier, always there:
    // every change of identifier is refused and undone.
    row("new identifier undone", {true, "mod_pt", "Z9|10.25|~|~", "", a, listed, {inUse}});
    row("emptied identifier kept", {true, "mod_pt", "|10.25|~|~", "", a.mid(1), listed.mid(1)});
}

void TestForm3::editPoint() {
    QFETCH(Edit, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    f.selectRow(1);
    f.open(c.command.toLatin1().constData());
    const bool modify = c.command == QLatin1String("mod_pt");
    if (modify) // every digit of the stored value, not the list's format
        QCOMPARE(f.fields(), QStringLiteral("A|652345,678|6862104,512|152,304"));
    const QString last = f.typeAll(c.typed);
    if (!c.shown.isEmpty())
        QCOMPARE(f.fields(), c.shown);
    QCOMPARE(shownBoxes(f.boxes), c.boxes);
    QVERIFY(f.control(last)->hasFocus()); // a refusal leaves the focus where the user put it
    f.click("Command1");

    QVERIFY(!f.editor());
    QVERIFY(f.window.centralWidget()->isEnabled() && f.window.menuBar()->isEnabled());
    const int index = modify ? 0 : 3;
    QCOMPARE(pointText(f.state.Points[index]), c.stored);
    QCOMPARE(f.state.PointCount, modify ? 3.0 : 4.0);
    QCOMPARE(gridRow(f.state, index + 1).join(u'|'), c.listed);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : %1").arg(modify ? 3 : 4));
}

// Return runs "Ok" (or "Rechercher") from any field, Escape "Annuler".
void TestForm3::returnAndEscape() {
    Fixture f;
    f.open("ent_pt");
    f.type("Text4", QStringLiteral("Z9"));
    f.type("Text1", QStringLiteral("1"));
    f.type("Text2", QStringLiteral("2"));
    f.type("Text3", QStringLiteral("3"));
    QTest::keyClick(f.control(QStringLiteral("Text3")), Qt::Key_Return);
    QVERIFY(!f.editor());
    QCOMPARE(f.state.PointCount, 4.0);
    QCOMPARE(f.state.Points[3].Matricule, QStringLiteral("Z9"));
    for (const char* command : {"ent_pt", "rech"}) {
        f.open(command);
        f.type("Text1", QStringLiteral("5"));
        QTest::keyClick(f.control(QStringLiteral("Text1")), Qt::Key_Escape);
        QVERIFY(!f.editor());
        QVERIFY(f.window.centralWidget()->isEnabled() && f.window.menuBar()->isEnabled());
    }
    QCOMPARE(f.state.PointCount, 4.0);
}

void TestForm3::modifyNeedsAPointRow() {
    Fixture none(false);
    none.trigger("mod_pt");
    QVERIFY(!none.editor());
    Fixture f;
    f.state.Grid.setRow(0); // the header row
    f.trigger("mod_pt");
    QVERIFY(!f.editor());

    // A double click on a point row: a click, then the double-click event.
    QTableView* view = f.window.grid();
    const QPoint at = view->visualRect(f.state.Grid.index(2, 1)).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at);
    QVERIFY(f.editor());
    QCOMPARE(f.text("Text4"), QStringLiteral("C"));
    // "Annuler" changes nothing, and the editor is gone for good: the next
    // command opens a fresh one.
    QPointer<Form3> editor(f.editor());
    f.type("Text1", QStringLiteral("5"));
    f.click("Command2");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(editor.isNull());
    QVERIFY(f.window.isEnabled());
    QCOMPARE(pointText(f.state.Points[2]), pointText(abc[2]));
    QCOMPARE(f.state.DataModified, false);
    QVERIFY(f.boxes.boxes().empty() && none.boxes.boxes().empty());
}

void TestForm3::deleteThenSearch() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    f.state.Grid.setRow(0);
    f.trigger("sup_pt"); // the header row is never deleted
    QCOMPARE(f.state.Grid.rows(), 4);
    // Only the list row goes, without a question; the store keeps the point.
    f.selectRow(1);
    f.trigger("sup_pt");
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 2"));
    QCOMPARE(f.state.PointCount, 3.0);
    QCOMPARE(f.state.DataModified, false);
    // The current row stays where it was, now showing B: modifying it edits
    // store entry 0, still A.
    QCOMPARE(f.state.Grid.row(), 1);
    f.open("mod_pt");
    QCOMPARE(f.text("Text4"), QStringLiteral("A"));
    f.click("Command2");
    // Row 2 now shows C, but modifying it edits store entry 1, still B.
    f.selectRow(2);
    f.open("mod_pt");
    QCOMPARE(f.text("Text4"), QStringLiteral("B"));
    f.click("Command2");

    f.open("rech");
    QCOMPARE(f.control<QPushButton>("Command1")->text(), QStringLiteral("Rechercher"));
    QVERIFY(f.control<QRadioButton>("Option1")->isChecked());
    // Cancel: the editor waits, still searching, with empty fields.
    f.typeAll(QStringLiteral("B|1.5|2|3"));
    f.boxes.answerMessage(MsgAnswer::Cancel);
    f.click("Command1");
    QVERIFY(f.editor());
    QCOMPARE(f.fields(), QStringLiteral("|||"));
    QCOMPARE(f.control<QPushButton>("Command1")->text(), QStringLiteral("Rechercher"));
    // "Tous les éléments" never finds anything.
    f.typeAll(QStringLiteral("B|1.5|2|3"));
    f.control<QRadioButton>("Option2")->click();
    f.boxes.answerMessage(MsgAnswer::Ok);
    f.click("Command1");
    QVERIFY(!f.editor());
    QVERIFY(f.window.isEnabled());

    // Yes: the editor modifies the point found, whatever row is current. The
    // store is walked, so B is found as store entry 1, which rewrites list
    // row 2, showing C.
    f.selectRow(1);
    f.open("rech");
    f.typeAll(QStringLiteral("B|~|~|~"));
    f.boxes.answerMessage(MsgAnswer::Yes);
    f.click("Command1");
    QCOMPARE(f.control<QPushButton>("Command1")->text(), QStringLiteral("Ok"));
    QVERIFY(!f.control<QRadioButton>("Option1")->isVisible());
    f.type("Text3", QStringLiteral("4.5"));
    f.click("Command1");
    QVERIFY(!f.editor());
    QCOMPARE(pointText(f.state.Points[1]), QStringLiteral("B|1.5|2|4.5"));
    QCOMPARE(gridRow(f.state, 2), items("B & 1,500 & 2,000 & 4,500"));
    QCOMPARE(gridColumn(f.state, 0), items("B & B"));
    // A rebuild of the list brings every point of the store back.
    f.state.RefreshPointList();
    QCOMPARE(gridColumn(f.state, 0), items("A & B & C"));

    QCOMPARE(f.boxes.unusedAnswers(), 0u);
    const QString found = QStringLiteral("Point Trouvé: Point trouvé\rNum= B\rX= 1,5\rY= 2\rZ= 3"
                                         "\r\rVoulez vous l'éditer ? [information yesnocancel]");
    QCOMPARE(
        shownBoxes(f.boxes),
        (QStringList{found, "Recherche Terminée: Recherche terminée [information ok]", found}));
}

void TestForm3::walk_data() {
    Rows<Walk> row;
    const auto finished = SearchOutcome::Finished;
    // Fields left empty were turned into "0": every zero coordinate matches,
    // as does every empty identifier.
    row("empty fields", {"|0|0|0", "NN", {"B", "", "end"}, finished, 4});
    row("identifier or coordinate", {" A |7|0|6", "NNN", {"A", "", " C", "end"}, finished, 4});
    row("yes stops", {"x|4|0|0", "Y", {"B"}, SearchOutcome::Edit, 1});
    row("cancel stops", {"x|1|2|0", "NC", {"A", "B"}, SearchOutcome::Cancelled, 1});
    row("no tolerance", {"x|0,1000000001|-2|9,0", "N", {"", "end"}, finished, 4});
    row("stored leading blank", {" C|-1|-1|-1", "", {"end"}, finished, 4});
    row("no points", {"|0|0|0", "", {"end"}, finished, 0, 0});
}

void TestForm3::walk() {
    QFETCH(Walk, c);
    RegionalFormatScope scope(frenchFormat());
    ScriptedDialogs boxes;
    for (QChar answer : c.answers)
        boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(answer)));
    const bool finished = c.outcome == SearchOutcome::Finished;
    if (finished)
        boxes.answerMessage(MsgAnswer::Ok);
    // An empty identifier, zeros, a leading blank, a long decimal expansion;
    // the store keeps an empty slot behind its last point, never walked.
    const std::vector<PointRecord> points{
        {1, 2, 3, "A"}, {4, 5, 0, "B"}, {7, 8, 9, ""}, {0.1, 2, 6, " C"}, {}};
    const QStringList f = c.fields.split(u'|');
    const SearchOutcome result = SearchPoints(points, c.count, PointFields{f[0], f[1], f[2], f[3]},
                                              SearchRule::AnyField, boxes);
    QCOMPARE(result.kind, c.outcome);
    QCOMPARE(int(result.index), c.index);
    QCOMPARE(boxes.unusedAnswers(), 0u);
    QStringList announced; // the identifier of each point found, then "end"
    for (const RecordedBox& box : boxes.boxes())
        announced << (box.prompt == QStringLiteral("Recherche terminée")
                          ? QStringLiteral("end")
                          : box.prompt.section(u'\r', 1, 1).mid(5));
    QCOMPARE(announced, c.found);
}

// While the editor is open only the main window waits: the other windows
// take clicks and their menus, and the main window's close box is ignored
// rather than lose the point being typed.
void TestForm3::otherWindowsStayUsable() {
    ProgramFixture f(abc);
    const QStringList others{"frmVisualisation", "Form2", "Form5", "FormatDonnee"};
    for (const char* item : {"view", "para", "MnuImmatriculation", "Mnu_Format"})
        f.trigger(item);
    f.trigger("ent_pt");
    QWidget* editor = f.topLevel(QStringLiteral("Form3"));
    QVERIFY(editor);
    QTest::keyClicks(child<QLineEdit>(editor, "Text4"), QStringLiteral("Z9"));
    for (const QString& name : others) {
        QWidget* other = f.topLevel(name);
        QVERIFY2(other && other->isEnabled(), qPrintable(name));
    }
    auto* view = f.topLevel(QStringLiteral("frmVisualisation"));
    QVERIFY(view->findChild<QAction*>(QStringLiteral("MnuZoomp"))->isEnabled());
    QVERIFY(view->findChild<QMenu*>(QStringLiteral("Mnu_Commande"))->isEnabled());
    QVERIFY(!f.window.menuBar()->isEnabled());
    f.state.DataModified = true;
    f.window.close();
    QVERIFY(f.window.isVisible());
    QVERIFY(f.boxes.boxes().empty());
    QCOMPARE(child<QLineEdit>(editor, "Text4")->text(), QStringLiteral("Z9"));
    child<QPushButton>(editor, "Command1")->click();
    QCOMPARE(f.state.PointCount, 4.0);
    QCOMPARE(f.state.Points[3].Matricule, QStringLiteral("Z9"));
    QVERIFY(f.window.menuBar()->isEnabled() && f.window.centralWidget()->isEnabled());
}

TOVALIN_TEST(TestForm3)
#include "tst_Form3.moc"
