#include "TestRunner.h"
#include "WindowFixture.h"

#include "editing/EditingCommands.h"
#include "editing/Form3.h"

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
    template <typename T = QLineEdit> T* control(const QString& name) const {
        return editor()->findChild<T*>(name);
    }
    QString text(const QString& name) const { return control(name)->text(); }
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
        const QStringList fields{"Text4", "Text1", "Text2", "Text3"};
        QString last;
        for (int i = 0; i < 4; ++i) {
            if (keys[i] != u"~")
                type(last = fields[i], keys[i]);
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

} // namespace
Q_DECLARE_METATYPE(Edit)

class TestForm3 : public QObject {
    Q_OBJECT
private slots:
    void openAndClose_data();
    void openAndClose();
    void editPoint_data();
    void editPoint();
    void modifyNeedsAPointRow_data();
    void modifyNeedsAPointRow();
    void deletedRowMisalignsList();
    void searchAnswers_data();
    void searchAnswers();
};

void TestForm3::openAndClose_data() {
    QTest::addColumn<bool>("search");
    QTest::newRow("enter, Annuler") << false;
    QTest::newRow("search, close box") << true;
}

void TestForm3::openAndClose() {
    QFETCH(bool, search);
    Fixture f;
    f.open(search ? "rech" : "ent_pt");
    QPointer<Form3> editor(f.editor());
    QCOMPARE(editor->windowTitle(), QStringLiteral("Editeur de point"));
    QVERIFY(!f.window.isEnabled());
    QVERIFY(editor->isEnabled());
    QCOMPARE(f.control<QPushButton>("Command1")->text(), search ? "Rechercher" : "Ok");
    QCOMPARE(f.control<QPushButton>("Command2")->geometry(), QRect(269, search ? 60 : 36, 93, 21));
    QCOMPARE(editor->height(), search ? 113 : 88);
    QCOMPARE(f.control<QRadioButton>("Option2")->isVisible(), search);
    QVERIFY(f.control<QRadioButton>("Option1")->isChecked());

    if (search)
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

void TestForm3::editPoint_data() {
    Rows<Edit> row;
    // A new point goes to the end, whatever row is current. Coordinates take
    // "." as ",", and a refused character is taken back at once.
    row("enter fr", {true, "ent_pt", "P.1|12.5|1a2|ab", "P.1|12,5|12|", "P.1|12.5|12|0",
                     "P.1|12,500|12,000|0,000", QStringList(3, badCoordinate)});
    row("enter all empty", {true, "ent_pt", "|||", "|||", "|0|0|0", "|0,000|0,000|0,000"});
    // An identifier already listed is accepted without a word.
    row("enter identifier in use, trailing comma",
        {true, "ent_pt", "A|1,23456|7,|-", "A|1,23456|7,|-", "A|1.23456|7|0",
         "A|1,235|7,000|0,000"});
    // Typed under a point-decimal format the commas group digits and pass;
    // "Ok" reads the first one as the decimal mark.
    row("enter en", {false, "ent_pt", " P2|1.25|2,5|1.2.3", " P2|1,25|2,5|1,2,3",
                     " P2|1.25|2.5|1.2", " P2|1.250|2.500|1.200"});
    const QString a = QStringLiteral("A|10.25|6862104.512|152.304");
    const QString listed = QStringLiteral("A|10,250|6862104,512|152,304");
    row("modify fr", {true, "mod_pt", "~|10.25|~|~", "A|10,25|6862104,512|152,304", a, listed});
    row("modify en", {false, "mod_pt", "~|10.25|~|~", "A|10,25|6862104.512|152.304", a,
                      "A|10.250|6862104.512|152.304"});
    // The list is searched for the point's own identifier, always there:
    // every change of identifier is refused and undone.
    row("new identifier undone", {true, "mod_pt", "Z9|10.25|~|~", "", a, listed, {inUse}});
    row("identifier of another point undone",
        {true, "mod_pt", "C|10.25|~|~", "", a, listed, {inUse}});
    row("emptied identifier kept", {true, "mod_pt", "|10.25|~|~", "", a.mid(1), listed.mid(1)});
}

void TestForm3::editPoint() {
    QFETCH(Edit, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    Fixture f;
    f.selectRow(1);
    f.open(c.command.toLatin1().constData());
    const bool modify = c.command == QLatin1String("mod_pt");
    if (modify) {
        QCOMPARE(f.state.EditMode, 2);
        QCOMPARE(f.state.SelectedIndex, 0.0);
        // Every digit of the stored value, not the list's format.
        QCOMPARE(f.text("Text4") + u'|' + f.text("Text1"),
                 c.french ? QStringLiteral("A|652345,678") : QStringLiteral("A|652345.678"));
    }
    const QString last = f.typeAll(c.typed);
    if (!c.shown.isEmpty())
        QCOMPARE(QStringList({f.text("Text4"), f.text("Text1"), f.text("Text2"), f.text("Text3")})
                     .join(u'|'),
                 c.shown);
    QCOMPARE(shownBoxes(f.boxes), c.boxes);
    QVERIFY(f.control(last)->hasFocus()); // a refusal leaves the focus where the user put it
    f.click("Command1");

    QVERIFY(!f.editor());
    QVERIFY(f.window.isEnabled());
    const int index = modify ? 0 : 3;
    QCOMPARE(pointText(f.state.Points[index]), c.stored);
    QCOMPARE(f.state.PointCount, modify ? 3.0 : 4.0);
    QCOMPARE(gridRow(f.state, index + 1).join(u'|'), c.listed);
    QCOMPARE(f.state.Grid.rows(), modify ? 4 : 5);
    QCOMPARE(f.state.DataModified, true);
    QCOMPARE(f.countLabel(), QStringLiteral("Nombre de points : %1").arg(modify ? 3 : 4));
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
    f.trigger("sup_pt"); // the header row is never deleted
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
    QCOMPARE(f.state.Grid.textMatrix(2, 0), QStringLiteral("C"));
    f.trigger("mod_pt");
    QCOMPARE(f.text("Text4"), QStringLiteral("B"));
    f.click("Command1");
    QCOMPARE(gridRow(f.state, 2), items("B & 1,500 & 2,000 & 3,000"));

    // A rebuild of the list brings every point of the store back.
    f.state.RefreshPointList();
    QCOMPARE(gridColumn(f.state, 0), items("A & B & C"));
}

void TestForm3::searchAnswers_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<bool>("deleteFirst");
    QTest::addColumn<bool>("allFields");
    QTest::addColumn<QString>("answers"); // Yes, No, Cancel, Ok
    QTest::addColumn<QString>("after");
    auto row = [](const char* name, bool french, bool deleteFirst, bool allFields,
                  const char* answers, const char* after) {
        QTest::newRow(name) << french << deleteFirst << allFields << QString::fromLatin1(answers)
                            << QString::fromLatin1(after);
    };
    row("yes edits the point found", true, false, false, "Y", "modify");
    row("yes after a deletion rewrites another row", false, true, false, "Y", "modify");
    row("cancel empties the fields", true, false, false, "C", "search");
    row("no walks to the end", true, false, false, "NO", "closed");
    row("all fields finds nothing", true, false, true, "O", "closed");
}

void TestForm3::searchAnswers() {
    QFETCH(bool, french);
    QFETCH(bool, deleteFirst);
    QFETCH(bool, allFields);
    QFETCH(QString, answers);
    QFETCH(QString, after);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    Fixture f;
    if (deleteFirst) {
        f.selectRow(1);
        f.trigger("sup_pt");
    }
    f.open("rech");
    // B exactly: the store is walked, so B is found even after a deletion.
    f.typeAll(QStringLiteral("B|1.5|2|3"));
    if (allFields)
        f.control<QRadioButton>("Option2")->click();
    for (QChar answer : answers)
        f.boxes.answerMessage(MsgAnswer(QStringLiteral("OYNC").indexOf(answer)));
    f.click("Command1");

    QCOMPARE(f.boxes.unusedAnswers(), 0u);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
    if (!allFields) {
        QCOMPARE(f.boxes.boxes()[0].prompt,
                 QStringLiteral("Point trouvé\rNum= B\rX= %1\rY= 2\rZ= 3\r\rVoulez vous l'éditer ?")
                     .arg(french ? "1,5" : "1.5"));
    }
    if (after == u"closed") {
        QCOMPARE(f.boxes.boxes().back().prompt, QStringLiteral("Recherche terminée"));
        QVERIFY(!f.editor());
        QVERIFY(f.window.isEnabled());
        return;
    }
    QVERIFY(f.editor());
    if (after == u"search") {
        QCOMPARE(f.text("Text4") + f.text("Text1") + f.text("Text2") + f.text("Text3"), QString());
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
    QCOMPARE(gridRow(f.state, 2).join(u'|'),
             french ? "B|1,500|2,000|4,500" : "B|1.500|2.000|4.500");
    QCOMPARE(f.state.Grid.rows(), deleteFirst ? 3 : 4);
}

TOVALIN_TEST(TestForm3)
#include "tst_Form3.moc"
