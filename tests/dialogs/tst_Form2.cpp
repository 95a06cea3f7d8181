#include "TestRunner.h"
#include "WindowFixture.h"

#include "app/Startup.h"
#include "dialogs/parameters/Form2.h"
#include "dialogs/parameters/ParametersCommand.h"
#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"
#include "platform/NumberText.h"

#include <QRegularExpression>
#include <QStyleOptionButton>

using namespace testing;
using namespace platform;

namespace {

// "Key" is a key of section "Paramètre", "App/Key" one of section "App".
QString storeKey(const QString& key) {
    return key.contains(u'/') ? key : sections::parametre() + u'/' + key;
}

const QString layerBox = QStringLiteral("Nom invalide: Nom de calque invalide\r\nCaratères "
                                        "autorisés : A à Z, 0 à 9, $, - , _ [critical ok]");
const QString numberBox = QStringLiteral("Point incorrect: Nombre incorrect [critical ok]");
const QString forbiddenBox = QStringLiteral("Caratère interdit: Caratère interdit [critical ok]");

// A control as the user sees it: a field's text with "on" (enabled, window
// colour) or "off" (disabled, grey), a box's or button's value, a list's entry.
QString look(QWidget* control) {
    if (auto* field = qobject_cast<QLineEdit*>(control)) {
        const QColor base = field->palette().color(QPalette::Base);
        QString shade = QStringLiteral("mixed");
        if (field->isEnabled() && base == QApplication::palette(field).color(QPalette::Base))
            shade = QStringLiteral("on");
        else if (!field->isEnabled() && base == QColor(192, 192, 192))
            shade = QStringLiteral("off");
        return field->text() + QStringLiteral(" [") + shade + u']';
    }
    if (auto* button = qobject_cast<QAbstractButton*>(control))
        return button->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    return qobject_cast<QComboBox*>(control)->currentText();
}

// A mouse click where the user would click: on the box or the round button.
void clickOn(QWidget* control) {
    QStyleOptionButton option;
    option.initFrom(control);
    const bool check = qobject_cast<QCheckBox*>(control) != nullptr;
    const QRect indicator = control->style()->subElementRect(
        check ? QStyle::SE_CheckBoxIndicator : QStyle::SE_RadioButtonIndicator, &option, control);
    const bool round = qobject_cast<QRadioButton*>(control) != nullptr;
    QTest::mouseClick(control, Qt::LeftButton, {},
                      (check || round ? indicator : control->rect()).center());
}

// Keys as a keyboard sends them; characters beyond ASCII carry their key code.
void typeText(QWidget* target, const QString& text) {
    for (QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClick(target, char(c.unicode()));
        else
            QTest::sendKeyEvent(QTest::Click, target, Qt::Key(c.toUpper().unicode()), QString(c),
                                Qt::NoModifier);
    }
}

void deletePendingWindows() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

struct Fixture {
    ScriptedDialogs boxes;
    MemorySettings settings;
    GestionDonnee state;
    QPointer<Form2> dialog;

    explicit Fixture(const QString& stored = {}) {
        boxes.setThrowOnUnexpected(false);
        for (const QString& entry : items(stored))
            settings.values.insert(storeKey(entry.section(u'=', 0, 0)), entry.section(u'=', 1));
    }
    ~Fixture() { delete dialog; }

    void open() {
        dialog = new Form2(state, boxes, settings);
        dialog->show();
        dialog->activateWindow();
        if (!QTest::qWaitForWindowActive(dialog))
            qWarning("the dialog did not become active");
    }
    QWidget* control(const QString& name) const {
        return dialog ? dialog->findChild<QWidget*>(name) : nullptr;
    }
    // A control's look, "mem:Key" a value in memory, otherwise a stored value.
    QString valueOf(const QString& key) const {
        if (key.startsWith(QStringLiteral("mem:"))) {
            const QRegularExpression entry(u'^' + key.mid(4) + u'=');
            return memorySettings(state.Settings).filter(entry).value(0).section(u'=', 1);
        }
        if (QWidget* widget = control(key))
            return look(widget);
        return settings.values.value(storeKey(key), QStringLiteral("<absent>"));
    }

    // One user action: "click X", "type X text", "paste X text", "clear X"
    // (select all, backspace), "select X index", "cursor X pos", "leave X"
    // (X gets the focus, then the focus moves on).
    void act(const QString& action) {
        const QString verb = action.section(u' ', 0, 0);
        const QString argument = action.section(u' ', 2);
        QWidget* target = control(action.section(u' ', 1, 1));
        QVERIFY2(target, qPrintable(action));
        auto* field = qobject_cast<QLineEdit*>(target);
        if (verb == u"click") {
            clickOn(target);
        } else if (verb == u"type") {
            typeText(target, argument);
        } else if (verb == u"paste") {
            field->insert(argument);
        } else if (verb == u"clear") {
            field->selectAll();
            QTest::keyClick(field, Qt::Key_Backspace);
        } else if (verb == u"select") {
            qobject_cast<QComboBox*>(target)->setCurrentIndex(CInt(argument));
        } else if (verb == u"cursor") {
            field->setCursorPosition(CInt(argument));
        } else if (verb == u"leave") {
            target->setFocus();
            QVERIFY(target->hasFocus());
            control(QStringLiteral("Check6"))->setFocus();
            QVERIFY(!target->hasFocus());
        } else {
            QFAIL(qPrintable(action));
        }
    }
    void actAll(const QString& actions) {
        for (const QString& action : items(actions)) {
            act(action);
            if (QTest::currentTestFailed())
                return;
        }
    }
};

} // namespace

// The offscreen platform can neither hold a window to a fixed size nor raise
// it, and says so every time; that says nothing about the dialog.
QtMessageHandler previousHandler = nullptr;
void dropSizeHintNotice(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (!text.startsWith(QStringLiteral("This plugin does not support")))
        previousHandler(type, context, text);
}

class TestForm2 : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { previousHandler = qInstallMessageHandler(dropSizeHintNotice); }
    void cleanupTestCase() { qInstallMessageHandler(previousHandler); }
    void dialog_data();
    void dialog();
    void settingsReachReaderAndWriters_data();
    void settingsReachReaderAndWriters();
    void menuOpensOneDialog();
};

void TestForm2::dialog_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("expected"); // control looks, memory and store
    QTest::addColumn<QStringList>("boxes");
    auto row = [](const char* name, const char* stored, const char* actions, const char* expected,
                  const QStringList& boxes = {}) {
        QTest::newRow(name) << QString::fromUtf8(stored) << QString::fromUtf8(actions)
                            << QString::fromUtf8(expected) << boxes;
    };
    // Opening. Memory holds Num_Pt_Dxf 57 and no identifier layer beforehand.
    row("fresh store", "", "",
        "Combo1=, (virgule) & Combo2=, (virgule) & Check1=0 & Text1= [off] & Check2=0 & "
        "Text2= [off] & Check6=0 & Option1=1 & Option2=0 & Text3=0 [on] & Check3=1 & "
        "Text4=1 [on] & Check4=1 & Text5=2 [on] & Check5=0 & Text6= [off] & Check7=1 & "
        "Text7=1 [on] & Option3=1 & Option4=0 & mem:Num_Premier_Pt=1");
    row("memory reloaded", "Separateur_Lec=; & Calque_Matricule=MAT & Num_Pt_Dxf=10", "",
        "mem:Num_Pt_Dxf=10 & mem:Calque_Matricule=MAT & mem:Separateur_Lec=; & Text7=10 [on]");
    // The flavour button's rule replaces the stored names at every opening.
    row("AutoCAD replaces stored layer names",
        "Dxf_Format=AC & Calque_Point=PTS & Calque_Matricule=MAT & Calque_Z=ALT", "",
        "Option2=1 & Text3=Point [on] & Text4=Point_Mat [on] & Text5=Point_Z [on]");
    row("empty layers switch their boxes off", "Calque_Matricule= & Calque_Z=", "",
        "Text3=0 [on] & Check3=0 & Text4= [off] & Check4=0 & Text5= [off]");
    row("separators, 3D, unformatted",
        "Separateur_Lec=\t & Separateur_Ecr= & Separateur_Autre_Lec=| & Fich_Dim=3D & App/ExtCfg=1",
        "", "Combo1=Tabulation & Combo2= & Check1=1 & Text1=| [on] & Option4=1 & Check6=1");
    row("numbering on, DXF numbering empty", "Inc_Num=1 & Num_Premier_Pt=100 & Num_Pt_Dxf=", "",
        "Check5=1 & Text6=100 [on] & Check7=1 & Text7= [on]");
    row("values the dialog does not know",
        "Dxf_Format=XX & Fich_Dim=4D & Calque_Point=PTS & Inc_Num=2 & App/ExtCfg=oui", "",
        "Option1=0 & Option2=0 & Text3=PTS [on] & Option3=0 & Option4=0 & Check5=0 & Check6=0");

    // Confirming with "Ok".
    row("separators", "",
        "select Combo1 1 & select Combo2 4 & click Check1 & type Text1 | & click Command1",
        "Separateur_Lec=; & Separateur_Ecr=\t & Separateur_Autre_Lec=| & Separateur_Autre_Ecr=");
    row("other separators switched off and ticked empty", "Separateur_Autre_Lec=|",
        "click Check1 & click Check2 & click Command1",
        "Separateur_Autre_Lec= & Separateur_Autre_Ecr=");
    // The store keeps the identifier layer's name, memory does not: the DXF
    // writer then puts the identifiers on an unnamed layer.
    row("layers switched off", "Calque_Matricule=MAT & Calque_Z=ALT",
        "click Check3 & click Check4 & click Command1",
        "Calque_Matricule=MAT & Calque_Z= & Calque_Point=0 & mem:Calque_Matricule= & "
        "mem:Calque_Z=");
    row("layers typed, numbering on", "",
        "clear Text3 & type Text3 BORNES & click Check5 & type Text6 0 & click Command1",
        "Calque_Point=BORNES & Calque_Matricule=1 & Inc_Num=1 & Num_Premier_Pt=10");
    row("both numberings off", "Inc_Num=1 & Num_Premier_Pt=7 & Num_Pt_Dxf=12",
        "click Check5 & click Check7 & click Command1",
        "Inc_Num=0 & Num_Premier_Pt= & Num_Pt_Dxf=");
    row("AutoCAD 3D, Z layer off", "",
        "click Check4 & click Option2 & click Option4 & click Command1",
        "Dxf_Format=AC & Fich_Dim=3D & Calque_Point=Point & Calque_Matricule=Point_Mat & "
        "Calque_Z=");
    row("Microstation 2D", "Dxf_Format=AC & Fich_Dim=3D",
        "click Option1 & click Option3 & click Command1",
        "Dxf_Format=MS & Fich_Dim=2D & Calque_Point=0 & Calque_Matricule=1 & Calque_Z=2");
    row("values the lists do not offer are kept", "Separateur_Lec=| & Dxf_Format=XX & Fich_Dim=4D",
        "click Command1", "Separateur_Lec=| & Dxf_Format=XX & Fich_Dim=4D");
    // "Annuler" only unloads: two boxes act at once, nothing else is stored.
    row("cancel keeps immediate changes",
        "Separateur_Autre_Lec=| & Separateur_Autre_Ecr=# & App/ExtCfg=0",
        "click Check1 & click Check6 & select Combo1 2 & clear Text3 & type Text3 X & "
        "click Command2",
        "mem:Separateur_Autre_Lec= & mem:Separateur_Autre_Ecr=# & App/ExtCfg=1 & "
        "Separateur_Autre_Lec=| & Separateur_Lec=<absent> & Calque_Point=<absent>");

    // The fields' rules.
    const QStringList layer{layerBox};
    row("blank typed in layer name", "", "clear Text3 & type Text3 A B", "Text3=AB [on]", layer);
    row("no-break space typed", "", "clear Text4 & type Text4 A\u00A0B", "Text4=AB [on]", layer);
    row("slash typed", "", "clear Text5 & type Text5 A/B", "Text5=AB [on]", layer);
    row("accented letter typed", "", "clear Text3 & type Text3 Bé1", "Text3=B1 [on]", layer);
    row("allowed layer characters", "", "clear Text3 & type Text3 Az09_$-", "Text3=Az09_$- [on]");
    // Only the change test sees a paste: blanks get through.
    row("blank pasted", "", "clear Text3 & paste Text3 A B", "Text3=A B [on]");
    // One message per character worked back from the cursor.
    row("slash pasted", "", "clear Text5 & paste Text5 a/b", "Text5=a [on]", {layerBox, layerBox});
    row("slash pasted inside", "", "clear Text3 & type Text3 AB & cursor Text3 1 & paste Text3 /",
        "Text3=AB [on]", layer);
    row("letter typed in number", "", "clear Text7 & type Text7 12a", "Text7=12 [on]", {numberBox});
    row("point typed in separator", "", "click Check1 & type Text1 a.b", "Text1=ab [on]",
        {forbiddenBox});
    row("acute accent typed", "", "click Check2 & type Text2 \u00B4|", "Text2=| [on]",
        {forbiddenBox});
    row("point pasted in separator", "", "click Check1 & paste Text1 .", "Text1=. [on]");
    // Microstation refills are one above the flavour's own names.
    row("points left empty, Microstation", "", "clear Text3 & leave Text3", "Text3=1 [on]");
    row("heights left empty, Microstation", "", "clear Text5 & leave Text5", "Text5=3 [on]");
    row("identifiers left empty, AutoCAD", "Dxf_Format=AC", "clear Text4 & leave Text4",
        "Text4=Point_Mat [on]");
    row("left empty, no flavour", "Dxf_Format=XX", "clear Text3 & leave Text3", "Text3= [on]");
    row("first number left empty", "", "click Check5 & clear Text6 & leave Text6", "Text6=1 [on]");
    row("other separator left empty", "", "click Check1 & leave Text1", "Text1= [on]");
}

void TestForm2::dialog() {
    QFETCH(QString, stored);
    QFETCH(QString, actions);
    QFETCH(QString, expected);
    QFETCH(QStringList, boxes);
    Fixture f(stored);
    // What the run left in memory: DXF numbering advanced by the reader, the
    // identifier layer emptied by an earlier "Ok".
    f.state.Settings.Num_Pt_Dxf = Variant(57.0);
    f.state.Settings.Calque_Matricule = Variant(QString());
    f.open();
    f.actAll(actions);
    if (QTest::currentTestFailed())
        return;
    const bool closed = actions.contains(QStringLiteral("click Command"));
    deletePendingWindows();
    QCOMPARE(f.dialog.isNull(), closed);
    for (const QString& entry : items(expected)) {
        const QString key = entry.section(u'=', 0, 0);
        QCOMPARE(key + u'=' + f.valueOf(key), entry);
    }
    QCOMPARE(shownBoxes(f.boxes), boxes);
}

void TestForm2::settingsReachReaderAndWriters_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("xyzLine");
    QTest::newRow("French") << frenchFormat() << QStringLiteral("100\t1,5\t2,25\t3\r\n");
    QTest::newRow("English") << englishFormat() << QStringLiteral("100\t1.5\t2.25\t3\r\n");
}

void TestForm2::settingsReachReaderAndWriters() {
    QFETCH(QLocale, locale);
    QFETCH(QString, xyzLine);
    RegionalFormatScope scope(locale);
    Fixture f;
    f.open();
    // Read with ";" and numbered from 100; written with tabs, unformatted, in
    // 3D, on AutoCAD layers with the point layer renamed; DXF points read
    // numbered from 500.
    f.actAll("select Combo1 1 & click Check5 & clear Text6 & type Text6 100 & select Combo2 4 & "
             "click Check6 & click Option2 & clear Text3 & type Text3 BORNES & click Option4 & "
             "clear Text7 & type Text7 500 & click Command1");
    QCOMPARE(shownBoxes(f.boxes), QStringList());

    ReadXyzLine(f.state, QStringLiteral("1,5;2,25;3"));
    QCOMPARE(pointText(f.state.Points[0]), QStringLiteral("100|1.5|2.25|3"));

    QTemporaryDir dir;
    NoFileDialogs files;
    NoWindowSurface window;
    NoProgress progress;
    CommandContext context{f.state, f.boxes, f.boxes, files, f.settings, window, progress};
    const QString xyz = dir.filePath(QStringLiteral("out.xyz"));
    WriteXyzFile(context, xyz);
    QCOMPARE(QString::fromLatin1(readBytes(xyz)), xyzLine);

    const QString dxf = dir.filePath(QStringLiteral("out.dxf"));
    f.boxes.answerInput(QStringLiteral("1"));
    WriteDxfFile(context, dxf);
    // The renamed point layer, the AutoCAD layers, the real height (3D).
    for (const char* part :
         {"\r\n0\r\nPOINT\r\n5\r\n800\r\n8\r\nBORNES\r\n", "\r\n8\r\nPoint_Mat\r\n",
          "\r\n8\r\nPoint_Z\r\n", "\r\n30\r\n3.000\r\n"})
        QVERIFY2(readBytes(dxf).contains(part), part);

    // The reader takes the texts' anchors for points too: three from one.
    ReadDxfFile(context, dxf);
    QCOMPARE(storedNames(f.state), items("100 & 500 & 501 & 502"));
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestForm2::menuOpensOneDialog() {
    WindowFixture f;
    InstallParameterCommands(f.window);
    f.window.show();
    f.trigger("para");
    f.trigger("para"); // asked again while open: the same dialog
    QCOMPARE(f.window.findChildren<Form2*>().size(), 1);
    QPointer<Form2> first = f.window.findChild<Form2*>();
    QVERIFY(first->isVisible() && !first->isModal());
    QCOMPARE(first->windowTitle(), QStringLiteral("Paramètres des fichiers"));

    child<QComboBox>(first, "Combo1")->setCurrentIndex(3);
    child<QComboBox>(first, "Combo2")->setCurrentIndex(4);
    clickOn(child<QWidget>(first, "Command1"));
    deletePendingWindows();
    QVERIFY(first.isNull());
    QCOMPARE(f.settings.values.value(storeKey("Separateur_Lec")), QStringLiteral(" "));
    QCOMPARE(f.settings.values.value(storeKey("Separateur_Ecr")), QStringLiteral("\t"));

    // Closed, the item opens a fresh one, which shows what was saved.
    f.trigger("para");
    auto* second = f.window.findChild<Form2*>();
    QCOMPARE(look(child<QComboBox>(second, "Combo1")) + u'|' +
                 look(child<QComboBox>(second, "Combo2")),
             QStringLiteral("Espace|Tabulation"));
    QCOMPARE(f.boxes.boxes().size(), 0u);
}

TOVALIN_TEST(TestForm2)
#include "tst_Form2.moc"
