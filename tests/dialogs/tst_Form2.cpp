#include "TestRunner.h"
#include "TestSupport.h"

#include "app/CommandContext.h"
#include "app/Form1.h"
#include "app/GestionDonnee.h"
#include "app/Startup.h"
#include "dialogs/parameters/Form2.h"
#include "dialogs/parameters/ParametersCommand.h"
#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

class MemorySettings : public SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values.insert(section + u'/' + key, value);
    }
    QMap<QString, QString> values;
};

class NoFileDialogs : public FileDialogService {
public:
    FileDialogResult showOpen(const QString&, const QString&) override { return {}; }
    FileDialogResult showSave(const QString&, const QString&) override { return {}; }
};

// "Key" is a key of section "Paramètre", "App/Key" one of section "App".
QString storeKey(const QString& key) {
    return key.contains(u'/') ? key : sections::parametre() + u'/' + key;
}

const QString kLayerBox = QStringLiteral(
    "Nom de calque invalide\r\nCaratères autorisés : A à Z, 0 à 9, $, - , _|Nom invalide");
const QString kNumberBox = QStringLiteral("Nombre incorrect|Point incorrect");
const QString kForbiddenBox = QStringLiteral("Caratère interdit|Caratère interdit");

// One control as the user sees it: a field's text with "on" (enabled, window
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
    if (auto* list = qobject_cast<QComboBox*>(control))
        return list->currentText();
    return QStringLiteral("<unknown control>");
}

// A mouse click where the user would click: on the box or the round button.
void clickOn(QWidget* control) {
    QPoint where = control->rect().center();
    QStyleOptionButton option;
    option.initFrom(control);
    if (qobject_cast<QCheckBox*>(control))
        where = control->style()
                    ->subElementRect(QStyle::SE_CheckBoxIndicator, &option, control)
                    .center();
    else if (qobject_cast<QRadioButton*>(control))
        where = control->style()
                    ->subElementRect(QStyle::SE_RadioButtonIndicator, &option, control)
                    .center();
    QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, where);
}

// Keys as a keyboard sends them; characters beyond ASCII (é, the no-break
// space, the acute accent) carry their key code and text.
void typeText(QWidget* target, const QString& text) {
    for (QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClick(target, char(c.unicode()));
        else
            QTest::sendKeyEvent(QTest::Click, target, Qt::Key(c.toUpper().unicode()), QString(c),
                                Qt::NoModifier);
    }
}

struct Fixture {
    ScriptedDialogs boxes;
    MemorySettings settings;
    GestionDonnee state;
    QPointer<Form2> dialog;

    explicit Fixture(const QStringList& stored = {}) {
        boxes.setThrowOnUnexpected(false);
        for (const QString& entry : stored)
            settings.values.insert(storeKey(entry.section(u'=', 0, 0)), entry.section(u'=', 1));
    }
    ~Fixture() { delete dialog; }

    Form2* open() {
        dialog = new Form2(state, boxes, settings);
        dialog->show();
        dialog->activateWindow();
        if (!QTest::qWaitForWindowActive(dialog))
            qWarning("the dialog did not become active");
        return dialog;
    }

    QWidget* control(const QString& name) const {
        return dialog ? dialog->findChild<QWidget*>(name) : nullptr;
    }

    // Runs one user action: "click X", "type X text", "paste X text",
    // "clear X" (select all, backspace), "select X index", "cursor X pos",
    // "leave X" (X gets the focus, then the focus moves on).
    void act(const QString& action) {
        const QString verb = action.section(u' ', 0, 0);
        const QString name = action.section(u' ', 1, 1);
        const QString argument = action.section(u' ', 2);
        QWidget* target = control(name);
        QVERIFY2(target, qPrintable(QStringLiteral("no control ") + name));
        auto* field = qobject_cast<QLineEdit*>(target);
        if (verb == u"click") {
            clickOn(target);
        } else if (verb == u"type") {
            typeText(target, argument);
        } else if (verb == u"paste") {
            QVERIFY(field);
            field->insert(argument);
        } else if (verb == u"clear") {
            QVERIFY(field);
            field->selectAll();
            QTest::keyClick(field, Qt::Key_Backspace);
        } else if (verb == u"select") {
            auto* list = qobject_cast<QComboBox*>(target);
            QVERIFY(list);
            list->setCurrentIndex(CInt(argument));
        } else if (verb == u"cursor") {
            QVERIFY(field);
            field->setCursorPosition(CInt(argument));
        } else if (verb == u"leave") {
            target->setFocus();
            QVERIFY(target->hasFocus());
            control(QStringLiteral("Check6"))->setFocus();
            QVERIFY(!target->hasFocus());
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown action ") + action));
        }
    }

    void actAll(const QStringList& actions) {
        for (const QString& action : actions) {
            act(action);
            if (QTest::currentTestFailed())
                return;
        }
    }

    // Every box shown, as "prompt|title"; all must be critical OK boxes.
    QStringList shownBoxes() const {
        QStringList shown;
        for (const RecordedBox& box : boxes.boxes()) {
            QString text = box.prompt + u'|' + box.title;
            if (box.icon != MsgIcon::Critical || box.buttons != MsgButtons::Ok)
                text += QStringLiteral(" (not a critical OK box)");
            shown << text;
        }
        return shown;
    }
};

// A list written on one line, its items separated by " & ".
QStringList items(const QString& text) {
    return text.isEmpty() ? QStringList() : text.split(QStringLiteral(" & "));
}

void deletePendingWindows() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

// The offscreen platform can neither hold a window to a fixed size nor raise
// it, and says so every time; that says nothing about the dialog.
QtMessageHandler previousHandler = nullptr;
void dropSizeHintNotice(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QStringLiteral("This plugin does not support")))
        return;
    previousHandler(type, context, text);
}

class TestForm2 : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { previousHandler = qInstallMessageHandler(dropSizeHintNotice); }
    void cleanupTestCase() { qInstallMessageHandler(previousHandler); }
    void opening_data();
    void opening();
    void openingReloadsMemory();
    void confirming_data();
    void confirming();
    void switchedOffLayersInMemory();
    void cancellingKeepsImmediateChanges();
    void fieldRules_data();
    void fieldRules();
    void settingsReachReaderAndWriters_data();
    void settingsReachReaderAndWriters();
    void menuOpensOneDialog();
};

void TestForm2::opening_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("expected");
    auto row = [](const char* name, const char* stored, const char* expected) {
        QTest::newRow(name) << QString::fromUtf8(stored) << QString::fromUtf8(expected);
    };
    row("fresh store", "",
        "Combo1=, (virgule) & Combo2=, (virgule) & Check1=0 & Text1= [off] & Check2=0 & "
        "Text2= [off] & Check6=0 & Option1=1 & Option2=0 & Text3=0 [on] & Check3=1 & "
        "Text4=1 [on] & Check4=1 & Text5=2 [on] & Check5=0 & Text6= [off] & Check7=1 & "
        "Text7=1 [on] & Option3=1 & Option4=0");
    // The flavour button's rule replaces the stored names at every opening.
    row("AutoCAD replaces stored layer names",
        "Dxf_Format=AC & Calque_Point=PTS & Calque_Matricule=MAT & Calque_Z=ALT",
        "Option2=1 & Text3=Point [on] & Text4=Point_Mat [on] & Text5=Point_Z [on]");
    row("empty layers switch their boxes off", "Calque_Matricule= & Calque_Z=",
        "Text3=0 [on] & Check3=0 & Text4= [off] & Check4=0 & Text5= [off]");
    row("separators, 3D, unformatted",
        "Separateur_Lec=\t & Separateur_Ecr= & Separateur_Autre_Lec=| & Fich_Dim=3D & App/ExtCfg=1",
        "Combo1=Tabulation & Combo2= & Check1=1 & Text1=| [on] & Option4=1 & Check6=1");
    row("numbering on, DXF numbering empty", "Inc_Num=1 & Num_Premier_Pt=100 & Num_Pt_Dxf=",
        "Check5=1 & Text6=100 [on] & Check7=1 & Text7= [on]");
    row("values the dialog does not know",
        "Dxf_Format=XX & Fich_Dim=4D & Calque_Point=PTS & Inc_Num=2 & App/ExtCfg=oui",
        "Option1=0 & Option2=0 & Text3=PTS [on] & Option3=0 & Option4=0 & Check5=0 & Check6=0");
}

void TestForm2::opening() {
    QFETCH(QString, stored);
    QFETCH(QString, expected);
    Fixture f(items(stored));
    f.open();
    for (const QString& entry : items(expected)) {
        const QString name = entry.section(u'=', 0, 0);
        QVERIFY2(f.control(name), qPrintable(name));
        QCOMPARE(name + u'=' + look(f.control(name)), entry);
    }
    QCOMPARE(f.shownBoxes(), QStringList());
}

void TestForm2::openingReloadsMemory() {
    Fixture f({"Separateur_Lec=;", "Calque_Matricule=MAT", "Num_Pt_Dxf=10", "Inc_Num=1"});
    // What the run left in memory: DXF numbering advanced by the reader, the
    // identifier layer emptied by an earlier "Ok".
    f.state.Settings.Num_Pt_Dxf = Variant(57.0);
    f.state.Settings.Calque_Matricule = Variant(QString());
    f.open();
    QCOMPARE(f.state.Settings.Num_Pt_Dxf.toText(), QStringLiteral("10"));
    QCOMPARE(f.state.Settings.Calque_Matricule.toText(), QStringLiteral("MAT"));
    QCOMPARE(f.state.Settings.Separateur_Lec.toText(), QStringLiteral(";"));
    // Absent, the first number is 1 for the dialog (start-up says 0).
    QCOMPARE(f.state.Settings.Num_Premier_Pt.toText(), QStringLiteral("1"));
    QCOMPARE(look(f.control("Text7")), QStringLiteral("10 [on]"));
}

void TestForm2::confirming_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("inStore");
    auto row = [](const char* name, const char* stored, const char* actions, const char* inStore) {
        QTest::newRow(name) << QString::fromUtf8(stored) << QString::fromUtf8(actions)
                            << QString::fromUtf8(inStore);
    };
    row("separators", "", "select Combo1 1 & select Combo2 4 & click Check1 & type Text1 |",
        "Separateur_Lec=; & Separateur_Ecr=\t & Separateur_Autre_Lec=| & Separateur_Autre_Ecr=");
    row("other separators switched off and ticked empty", "Separateur_Autre_Lec=|",
        "click Check1 & click Check2", "Separateur_Autre_Lec= & Separateur_Autre_Ecr=");
    // The identifier layer keeps its stored name; the Z layer does not.
    row("layers switched off", "Calque_Matricule=MAT & Calque_Z=ALT", "click Check3 & click Check4",
        "Calque_Matricule=MAT & Calque_Z= & Calque_Point=0");
    row("layers typed, numbering on", "",
        "clear Text3 & type Text3 BORNES & click Check5 & type Text6 0",
        "Calque_Point=BORNES & Calque_Matricule=1 & Inc_Num=1 & Num_Premier_Pt=10");
    row("both numberings off", "Inc_Num=1 & Num_Premier_Pt=7 & Num_Pt_Dxf=12",
        "click Check5 & click Check7", "Inc_Num=0 & Num_Premier_Pt= & Num_Pt_Dxf=");
    row("AutoCAD 3D, Z layer off", "", "click Check4 & click Option2 & click Option4",
        "Dxf_Format=AC & Fich_Dim=3D & Calque_Point=Point & Calque_Matricule=Point_Mat & "
        "Calque_Z=");
    row("Microstation 2D", "Dxf_Format=AC & Fich_Dim=3D", "click Option1 & click Option3",
        "Dxf_Format=MS & Fich_Dim=2D & Calque_Point=0 & Calque_Matricule=1 & Calque_Z=2");
    row("values the lists do not offer are kept", "Separateur_Lec=| & Dxf_Format=XX & Fich_Dim=4D",
        "", "Separateur_Lec=| & Dxf_Format=XX & Fich_Dim=4D");
}

void TestForm2::confirming() {
    QFETCH(QString, stored);
    QFETCH(QString, actions);
    QFETCH(QString, inStore);
    Fixture f(items(stored));
    f.open();
    f.actAll(items(actions) << QStringLiteral("click Command1"));
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(f.shownBoxes(), QStringList());
    for (const QString& entry : items(inStore)) {
        const QString key = entry.section(u'=', 0, 0);
        QCOMPARE(key + u'=' + f.settings.values.value(storeKey(key), QStringLiteral("<absent>")),
                 entry);
    }
    // "Ok" unloads the dialog.
    deletePendingWindows();
    QVERIFY(f.dialog.isNull());
}

void TestForm2::switchedOffLayersInMemory() {
    Fixture f({"Calque_Matricule=MAT", "Calque_Z=ALT"});
    f.open();
    f.actAll({"click Check3", "click Check4", "click Command1"});
    // Both empty in memory, whatever the store kept: the DXF writer puts the
    // identifiers on an unnamed layer and the heights on layer "2".
    QCOMPARE(f.state.Settings.Calque_Matricule.toText(), QString());
    QCOMPARE(f.state.Settings.Calque_Z.toText(), QString());
}

void TestForm2::cancellingKeepsImmediateChanges() {
    Fixture f({"Separateur_Autre_Lec=|", "Separateur_Autre_Ecr=#", "App/ExtCfg=0"});
    f.open();
    f.actAll({"click Check1", "click Check6", "select Combo1 2", "clear Text3", "type Text3 X"});
    // These two happen at once, before any button.
    QCOMPARE(f.state.Settings.Separateur_Autre_Lec.toText(), QString());
    QCOMPARE(f.settings.values.value("App/ExtCfg"), QStringLiteral("1"));
    f.act(QStringLiteral("click Command2"));

    deletePendingWindows();
    QVERIFY(f.dialog.isNull());
    QCOMPARE(f.state.Settings.Separateur_Autre_Lec.toText(), QString());
    QCOMPARE(f.state.Settings.Separateur_Autre_Ecr.toText(), QStringLiteral("#"));
    QCOMPARE(f.settings.values.value("App/ExtCfg"), QStringLiteral("1"));
    // Nothing else reached the store.
    QCOMPARE(f.settings.values.value(storeKey("Separateur_Autre_Lec")), QStringLiteral("|"));
    QVERIFY(!f.settings.values.contains(storeKey("Separateur_Lec")));
    QVERIFY(!f.settings.values.contains(storeKey("Calque_Point")));
}

void TestForm2::fieldRules_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QStringList>("expectedBoxes");
    auto row = [](const char* name, const char* stored, const char* actions, const char* field,
                  const char* expected, const QStringList& boxes = {}) {
        QTest::newRow(name) << QString::fromUtf8(stored) << QString::fromUtf8(actions)
                            << QString::fromLatin1(field) << QString::fromUtf8(expected) << boxes;
    };
    const QStringList layer{kLayerBox};
    row("blank typed in layer name", "", "clear Text3 & type Text3 A B", "Text3", "AB", layer);
    row("no-break space typed", "", "clear Text4 & type Text4 A\u00A0B", "Text4", "AB", layer);
    row("slash typed", "", "clear Text5 & type Text5 A/B", "Text5", "AB", layer);
    row("accented letter typed", "", "clear Text3 & type Text3 Bé1", "Text3", "B1", layer);
    row("allowed layer characters", "", "clear Text3 & type Text3 Az09_$-", "Text3", "Az09_$-");
    // Only the change test sees a paste: blanks get through.
    row("blank pasted", "", "clear Text3 & paste Text3 A B", "Text3", "A B");
    // One message per character worked back from the cursor.
    row("slash pasted", "", "clear Text5 & paste Text5 a/b", "Text5", "a", {kLayerBox, kLayerBox});
    row("slash pasted inside", "", "clear Text3 & type Text3 AB & cursor Text3 1 & paste Text3 /",
        "Text3", "AB", layer);
    row("letter typed in number", "", "clear Text7 & type Text7 12a", "Text7", "12", {kNumberBox});
    row("point typed in separator", "", "click Check1 & type Text1 a.b", "Text1", "ab",
        {kForbiddenBox});
    row("acute accent typed", "", "click Check2 & type Text2 \u00B4|", "Text2", "|",
        {kForbiddenBox});
    row("point pasted in separator", "", "click Check1 & paste Text1 .", "Text1", ".");
    // Microstation refills are one above the flavour's own names.
    row("points left empty, Microstation", "", "clear Text3 & leave Text3", "Text3", "1");
    row("heights left empty, Microstation", "", "clear Text5 & leave Text5", "Text5", "3");
    row("identifiers left empty, AutoCAD", "Dxf_Format=AC", "clear Text4 & leave Text4", "Text4",
        "Point_Mat");
    row("left empty, no flavour", "Dxf_Format=XX", "clear Text3 & leave Text3", "Text3", "");
    row("first number left empty", "", "click Check5 & clear Text6 & leave Text6", "Text6", "1");
    row("other separator left empty", "", "click Check1 & leave Text1", "Text1", "");
}

void TestForm2::fieldRules() {
    QFETCH(QString, stored);
    QFETCH(QString, actions);
    QFETCH(QString, field);
    QFETCH(QString, expected);
    QFETCH(QStringList, expectedBoxes);
    Fixture f(items(stored));
    f.open();
    for (int i = 0; i < expectedBoxes.size(); ++i)
        f.boxes.answerMessage(MsgAnswer::Ok);
    f.actAll(items(actions));

    QCOMPARE(qobject_cast<QLineEdit*>(f.control(field))->text(), expected);
    QCOMPARE(f.shownBoxes(), expectedBoxes);
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestForm2::settingsReachReaderAndWriters_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("xyzLine");
    QTest::newRow("French") << frenchFormat() << QStringLiteral("100\t1,5\t2,25\t3");
    QTest::newRow("English") << englishFormat() << QStringLiteral("100\t1.5\t2.25\t3");
}

void TestForm2::settingsReachReaderAndWriters() {
    QFETCH(QLocale, locale);
    QFETCH(QString, xyzLine);
    RegionalFormatScope scope(locale);
    QTemporaryDir dir;
    Fixture f;
    f.open();
    // Read with ";" and numbered from 100; written with tabs, unformatted, in
    // 3D, on AutoCAD layers with the point layer renamed; DXF points read
    // numbered from 500.
    f.actAll({"select Combo1 1", "click Check5", "clear Text6", "type Text6 100", "select Combo2 4",
              "click Check6", "click Option2", "clear Text3", "type Text3 BORNES", "click Option4",
              "clear Text7", "type Text7 500", "click Command1"});
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(f.shownBoxes(), QStringList());

    ReadXyzLine(f.state, QStringLiteral("1,5;2,25;3"));
    QCOMPARE(f.state.PointCount, 1.0);
    QCOMPARE(f.state.Points[0].Matricule, QStringLiteral("100"));
    QCOMPARE(f.state.Points[0].X, 1.5);
    QCOMPARE(f.state.Points[0].Y, 2.25);
    QCOMPARE(f.state.Points[0].Z, 3.0);

    NoFileDialogs files;
    NoWindowSurface window;
    NoProgress progress;
    CommandContext context{f.state, f.boxes, f.boxes, files, f.settings, window, progress};

    const QString xyz = dir.filePath(QStringLiteral("out.xyz"));
    WriteXyzFile(context, xyz);
    QCOMPARE(QString::fromLatin1(readBytes(xyz)), xyzLine + QStringLiteral("\r\n"));

    const QString dxf = dir.filePath(QStringLiteral("out.dxf"));
    f.boxes.answerInput(QStringLiteral("1"));
    WriteDxfFile(context, dxf);
    const QString dxfText = QString::fromLatin1(readBytes(dxf));
    QVERIFY(dxfText.contains(QStringLiteral("\r\n0\r\nPOINT\r\n5\r\n800\r\n8\r\nBORNES\r\n")));
    QVERIFY(dxfText.contains(QStringLiteral("\r\n8\r\nPoint_Mat\r\n")));
    QVERIFY(dxfText.contains(QStringLiteral("\r\n8\r\nPoint_Z\r\n")));
    QVERIFY(dxfText.contains(QStringLiteral("\r\n30\r\n3.000\r\n"))); // 3D: the real height

    // The reader takes the texts' anchors for points too: three from one.
    ReadDxfFile(context, dxf);
    QCOMPARE(f.state.PointCount, 4.0);
    QCOMPARE(f.state.Points[1].Matricule, QStringLiteral("500"));
    QCOMPARE(f.state.Points[3].Matricule, QStringLiteral("502"));
    QCOMPARE(f.boxes.unexpectedBoxes(), 0);
}

void TestForm2::menuOpensOneDialog() {
    // The real settings file (in the test run's own configuration folder).
    IniSettingsStore settings;
    ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    ScriptedFileDialog files;
    GestionDonnee state;
    Form1 window(state, Services{boxes, boxes, files, settings});
    InstallParameterCommands(window);
    window.show();
    QAction* item = window.menuItem(QStringLiteral("para"));
    QVERIFY(item);

    item->trigger();
    QCOMPARE(window.findChildren<Form2*>().size(), 1);
    QPointer<Form2> first = window.findChild<Form2*>();
    QVERIFY(first->isVisible());
    QVERIFY(!first->isModal());
    QCOMPARE(first->windowTitle(), QStringLiteral("Paramètres des fichiers"));
    // Asked again while it is open: the same dialog, not a second one.
    item->trigger();
    QCOMPARE(window.findChildren<Form2*>().size(), 1);
    QCOMPARE(window.findChild<Form2*>(), first.data());

    // A blank and a tab survive the settings file.
    first->findChild<QComboBox*>(QStringLiteral("Combo1"))->setCurrentIndex(3);
    first->findChild<QComboBox*>(QStringLiteral("Combo2"))->setCurrentIndex(4);
    clickOn(first->findChild<QPushButton*>(QStringLiteral("Command1")));
    deletePendingWindows();
    QVERIFY(first.isNull());
    IniSettingsStore reread;
    QCOMPARE(reread.value(sections::parametre(), "Separateur_Lec", "?"), QStringLiteral(" "));
    QCOMPARE(reread.value(sections::parametre(), "Separateur_Ecr", "?"), QStringLiteral("\t"));

    // Closed, the item opens a fresh one, which shows what was saved.
    item->trigger();
    auto* second = window.findChild<Form2*>();
    QVERIFY(second);
    QCOMPARE(second->findChild<QComboBox*>(QStringLiteral("Combo1"))->currentText(),
             QStringLiteral("Espace"));
    QCOMPARE(second->findChild<QComboBox*>(QStringLiteral("Combo2"))->currentText(),
             QStringLiteral("Tabulation"));
    QCOMPARE(boxes.boxes().size(), 0u);
}

TOVALIN_TEST(TestForm2)
#include "tst_Form2.moc"
