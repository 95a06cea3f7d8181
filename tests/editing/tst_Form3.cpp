#include "ProgramFixture.h"
#include "TestRunner.h"

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

// The program's main window, with the points A, B, C unless told otherwise.
struct Fixture : ProgramFixture {
    explicit Fixture(const std::vector<PointRecord>& points = abc) : ProgramFixture(points) {}
    // The list row made current as a click on it does.
    void selectRow(int row) {
        window.grid()->selectionModel()->clearCurrentIndex();
        window.grid()->setCurrentIndex(state.Grid.index(row - state.Grid.fixedRows(), 0));
    }
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
    Form3* editor() const { return static_cast<Form3*>(topLevel(QStringLiteral("Form3"))); }
    template <typename T = QLineEdit> T* control(const QString& name) const {
        return editor()->findChild<T*>(name);
    }
    QString text(const QString& name) const { return control(name)->text(); }
    QString fields() const {
        return QStringList{text("Text4"), text("Text1"), text("Text2"), text("Text3")}.join(u'|');
    }
    // Command1's caption, both buttons' top and the editor's height, in twips.
    QString layout() const {
        const auto twips = [](int pixels) { return QString::number(pixels * 15); };
        return QStringList{control<QPushButton>("Command1")->text(),
                           twips(control<QPushButton>("Command1")->y()),
                           twips(control<QPushButton>("Command2")->y()), twips(editor()->height())}
            .join(u' ');
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
    bool byReturn = false; // "Ok" by the Return key
    int fixedRows = 1;     // none after reading into an empty list
    QString current = {};  // CurrentMatricule once the editor is open, "" as the command set it
};

// One search over the points below, as typed into the editor.
struct Search {
    QString typed;     // Text4|Text1|Text2|Text3
    bool everyField;   // "Rechercher tous les éléments"
    QString answers;   // Y, N, C: one per find
    QStringList found; // identifiers announced, then "end" when finished
    QString after;     // the fields, "" once the editor is closed
    bool noPoint = false;
};

} // namespace
Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(Search)

class TestForm3 : public QObject {
    Q_OBJECT
private slots:
    void editPoint_data();
    void editPoint();
    void deleteThenSearch();
    void search_data();
    void search();
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
    row("enter en, by Return", {false,
                                "ent_pt",
                                " P2|1.25|2,5|1.2.3",
                                " P2|1,25|2,5|1,2,3",
                                " P2|1.25|2.5|1.2",
                                " P2|1.250|2.500|1.200",
                                {},
                                true});
    const QString a = QStringLiteral("A|10.25|6862104.512|152.304");
    const QString listed = QStringLiteral("A|10,250|6862104,512|152,304");
    row("modify", {true, "mod_pt", "~|10.25|~|~", "A|10,25|6862104,512|152,304", a, listed});
    // Row 1 is the first point's, header fixed or not.
    row("modify, header not fixed", {true, "mod_pt", "~|10.25|~|~", "", a, listed, {}, false, 0});
    // The list is searched for CurrentMatricule, the point's own identifier,
    // always there: every change of identifier is refused and undone. The
    // header row is searched too.
    row("new identifier undone", {true, "mod_pt", "Z9|10.25|~|~", "", a, listed, {inUse}});
    row("identifier of the header row",
        {true, "mod_pt", "Z9|10.25|~|~", "", a, listed, {inUse}, false, 1, "Matricule"});
    row("identifier listed nowhere", {true,
                                      "mod_pt",
                                      "Z9|10.25|~|~",
                                      "",
                                      "Z9" + a.mid(1),
                                      "Z9" + listed.mid(1),
                                      {},
                                      false,
                                      1,
                                      "nowhere"});
    row("emptied identifier kept", {true, "mod_pt", "|10.25|~|~", "", a.mid(1), listed.mid(1)});
}

void TestForm3::editPoint() {
    QFETCH(Edit, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    f.state.Grid.setFixedRows(c.fixedRows);
    f.selectRow(1);
    f.open(c.command.toLatin1().constData());
    const bool modify = c.command == QLatin1String("mod_pt");
    if (modify) // every digit of the stored value, not the list's format
        QCOMPARE(f.fields(), QStringLiteral("A|652345,678|6862104,512|152,304"));
    if (!c.current.isEmpty())
        f.state.CurrentMatricule = c.current;
    const QString last = f.typeAll(c.typed);
    if (!c.shown.isEmpty())
        QCOMPARE(f.fields(), c.shown);
    QCOMPARE(shownBoxes(f.boxes), c.boxes);
    QVERIFY(f.control(last)->hasFocus()); // a refusal leaves the focus where the user put it
    if (c.byReturn)
        QTest::keyClick(f.control(last), Qt::Key_Return);
    else
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

// Deleting removes only the list's row; the store is still searched and
// edited by its own index.
void TestForm3::deleteThenSearch() {
    RegionalFormatScope scope(frenchFormat());
    Fixture f;
    // With the header row current neither command does anything.
    f.state.Grid.setRow(0);
    f.trigger("sup_pt");
    f.trigger("mod_pt");
    QVERIFY(!f.editor());
    QCOMPARE(f.state.Grid.rows(), 4);
    // Only the list row goes, without a question; the store keeps the point,
    // and the current row stays where it was, now showing B.
    f.selectRow(1);
    f.trigger("sup_pt");
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : 2"));
    QCOMPARE(f.state.PointCount, 3.0);
    QCOMPARE(f.state.Grid.row(), 1);
    // Row 2 now shows C, but modifying it edits store entry 1, still B.
    // Annuler cancels, changing nothing.
    f.selectRow(2);
    f.open("mod_pt");
    QCOMPARE(f.text("Text4"), QStringLiteral("B"));
    f.type("Text1", QStringLiteral("5"));
    f.click("Command2");
    QVERIFY(!f.editor());
    QCOMPARE(pointText(f.state.Points[1]), pointText(abc[1]));
    QCOMPARE(f.state.DataModified, false);

    // Found in the store as entry 1, B is edited there and in list row 2,
    // which showed C, whatever row is current.
    f.selectRow(1);
    f.open("rech");
    f.typeAll(QStringLiteral("B|~|~|~"));
    f.boxes.answerMessage(MsgAnswer::Yes);
    f.click("Command1");
    f.type("Text3", QStringLiteral("4.5"));
    f.click("Command1");
    QVERIFY(!f.editor());
    QCOMPARE(pointText(f.state.Points[1]), QStringLiteral("B|1.5|2|4.5"));
    QCOMPARE(gridRow(f.state, 2), items("B & 1,500 & 2,000 & 4,500"));
    QCOMPARE(gridColumn(f.state, 0), items("B & B"));
    // A rebuild of the list brings every point of the store back.
    f.state.RefreshPointList();
    QCOMPARE(gridColumn(f.state, 0), items("A & B & C"));
    QCOMPARE(shownBoxes(f.boxes),
             QStringList{"Point Trouvé: Point trouvé\rNum= B\rX= 1,5\rY= 2\rZ= 3\r\rVoulez vous "
                         "l'éditer ? [information yesnocancel]"});
}

void TestForm3::search_data() {
    Rows<Search> row;
    // Fields left empty become "0": every zero coordinate matches, as does
    // every empty identifier; the empty slot behind the last point is never
    // walked. No answers Yes, Cancel stop the walk.
    row("empty fields", {"|||", false, "NN", {"B", "", "end"}, ""});
    row("identifier or coordinate", {" A |7|0|6", false, "NNN", {"A", "", " C", "end"}, ""});
    row("yes: the point edited", {"x|4|0|0", false, "Y", {"B"}, "B|4|5|0"});
    row("cancel: searching again", {"x|1|2|0", false, "NC", {"A", "B"}, "|||"});
    row("no tolerance", {"x|0,1000000001|-2|9,0", false, "N", {"", "end"}, ""});
    row("stored leading blank", {" C|-1|-1|-1", false, "", {"end"}, ""});
    row("every field, never found", {"A|1|2|3", true, "", {"end"}, ""});
    row("no point", {"|||", false, "", {"end"}, "", true});
}

void TestForm3::search() {
    QFETCH(Search, c);
    RegionalFormatScope scope(frenchFormat());
    // An empty identifier, zeros, a leading blank, a long decimal expansion.
    Fixture f(c.noPoint ? std::vector<PointRecord>()
                        : std::vector<PointRecord>{
                              {1, 2, 3, "A"}, {4, 5, 0, "B"}, {7, 8, 9, ""}, {0.1, 2, 6, " C"}});
    for (QChar answer : c.answers)
        f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(answer)));
    if (c.found.endsWith(QStringLiteral("end")))
        f.boxes.answerMessage(MsgAnswer::Ok);
    f.open("rech");
    QCOMPARE(f.layout(), QStringLiteral("Rechercher 900 900 1695"));
    QVERIFY(f.control<QRadioButton>("Option1")->isChecked());
    f.typeAll(c.typed);
    if (c.everyField)
        f.control<QRadioButton>("Option2")->click();
    f.click("Command1");
    QCOMPARE(f.boxes.unusedAnswers(), 0u);
    QStringList announced; // the identifier of each point found, then "end"
    for (const RecordedBox& box : f.boxes.boxes())
        announced << (box.prompt == QStringLiteral("Recherche terminée")
                          ? QStringLiteral("end")
                          : box.prompt.section(u'\r', 1, 1).mid(5));
    QCOMPARE(announced, c.found);
    QCOMPARE(f.editor() ? f.fields() : QString(), c.after);
    if (!f.editor())
        return;
    const bool edit = c.answers.endsWith(u'Y');
    QCOMPARE(f.layout(),
             edit ? QStringLiteral("Ok 540 540 1320") : QStringLiteral("Rechercher 900 900 1695"));
    QCOMPARE(f.control<QRadioButton>("Option1")->isVisible(), !edit);
    QCOMPARE(f.state.EditMode, edit ? editmode::Modify : editmode::Search);
}

// A double click on the list's first point row opens the editor on that
// point. While it is open only the main window waits: the other windows
// (one of each, however often their item is chosen) take clicks and their
// menus, and the main window's close box is ignored rather than lose the
// point being typed. Closed, a window is gone, and its item opens a fresh one.
void TestForm3::otherWindowsStayUsable() {
    ProgramFixture f(abc);
    const QStringList others{"frmVisualisation", "Form2", "Form5", "FormatDonnee"};
    for (const char* item : {"view", "para", "MnuImmatriculation", "Mnu_Format"}) {
        f.trigger(item);
        f.trigger(item);
    }
    QTableView* list = f.window.grid();
    const QPoint first = list->visualRect(f.state.Grid.index(0, 1)).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first);
    QWidget* editor = f.topLevel(QStringLiteral("Form3"));
    QVERIFY(editor);
    QCOMPARE(child<QLineEdit>(editor, "Text4")->text(), QStringLiteral("A"));
    auto* z = child<QLineEdit>(editor, "Text3");
    z->selectAll();
    QTest::keyClicks(z, QStringLiteral("4.5"));
    for (const QString& name : others) {
        QWidget* other = f.topLevel(name);
        QVERIFY2(other && other->isEnabled() && !other->isModal(), qPrintable(name));
        QCOMPARE(f.window.findChildren<QWidget*>(name).size(), 1);
    }
    auto* view = f.topLevel(QStringLiteral("frmVisualisation"));
    QVERIFY(view->findChild<QAction*>(QStringLiteral("MnuZoomp"))->isEnabled());
    QVERIFY(view->findChild<QMenu*>(QStringLiteral("Mnu_Commande"))->isEnabled());
    QVERIFY(!f.window.menuBar()->isEnabled());
    f.state.DataModified = true;
    f.window.close();
    QVERIFY(f.window.isVisible());
    QVERIFY(f.boxes.boxes().empty());
    QCOMPARE(z->text(), QStringLiteral("4,5"));
    child<QPushButton>(editor, "Command1")->click();
    QCOMPARE(pointText(f.state.Points[0]), QStringLiteral("A|652345.678|6862104.512|4.5"));

    child<QLineEdit>(f.topLevel(QStringLiteral("Form5")), "Text1")->setText(QStringLiteral("7"));
    for (const QString& name : others)
        f.topLevel(name)->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const QString& name : others)
        QVERIFY2(!f.window.findChild<QWidget*>(name), qPrintable(name));
    f.trigger("MnuImmatriculation");
    QCOMPARE(child<QLineEdit>(f.topLevel(QStringLiteral("Form5")), "Text1")->text(),
             QStringLiteral("1"));
}

TOVALIN_TEST(TestForm3)
#include "tst_Form3.moc"
