#include "TestRunner.h"
#include "WindowFixture.h"

#include "dialogs/parameters/Form2.h"
#include "platform/NumberText.h"
#include "state/Startup.h"

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
        QVERIFY(QTest::qWaitForWindowActive(dialog));
    }
    QWidget* control(const QString& name) const {
        return dialog ? dialog->findChild<QWidget*>(name) : nullptr;
    }
    // A control's look, "mem:Key" a value in memory, otherwise a stored value.
    QString valueOf(const QString& key) const {
        if (key.startsWith(QStringLiteral("mem:"))) {
            for (const QString& entry : memorySettings(state.Settings)) {
                if (entry.section(u'=', 0, 0) == key.mid(4))
                    return entry.section(u'=', 1);
            }
        }
        if (QWidget* widget = control(key))
            return look(widget);
        return settings.values.value(storeKey(key), QStringLiteral("<absent>"));
    }

    // One user action: "click X", "type X text", "paste X text", "clear X"
    // (select all, backspace), "select X index", "cursor X pos", "leave X"
    // (X gets the focus, then the focus moves on), "window X" (X has the
    // focus when another window takes it).
    void act(const QString& action) {
        const QString verb = action.section(u' ', 0, 0);
        const QString argument = action.section(u' ', 2);
        QWidget* target = control(action.section(u' ', 1, 1));
        QVERIFY2(target, qPrintable(action));
        auto* field = qobject_cast<QLineEdit*>(target);
        if (verb == u"click") {
            qobject_cast<QAbstractButton*>(target)->click();
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
        } else if (verb == u"window") {
            // X has the focus when another window takes it, as a message box
            // does: that is no move to another control of the dialog.
            target->setFocus();
            QFocusEvent away(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
            QApplication::sendEvent(target, &away);
        } else if (verb == u"leave") {
            target->setFocus();
            QVERIFY(target->hasFocus());
            control(QStringLiteral("Check6"))->setFocus();
            QVERIFY(!target->hasFocus());
        } else {
            QFAIL(qPrintable(action));
        }
    }
};

} // namespace

class TestForm2 : public QObject {
    Q_OBJECT
private slots:
    void dialog_data();
    void dialog();
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
    row("stored values, memory reloaded",
        "Separateur_Lec=\t & Separateur_Ecr= & Separateur_Autre_Lec=| & Fich_Dim=3D & "
        "App/ExtCfg=1 & Calque_Matricule=MAT & Num_Pt_Dxf=10",
        "",
        "Combo1=Tabulation & Combo2= & Check1=1 & Text1=| [on] & Option4=1 & Check6=1 & "
        "Text7=10 [on] & mem:Num_Pt_Dxf=10 & mem:Calque_Matricule=MAT & mem:Separateur_Lec=\t");
    // The flavour button's rule replaces the stored names at every opening.
    row("AutoCAD replaces stored layer names",
        "Dxf_Format=AC & Calque_Point=PTS & Calque_Matricule=MAT & Calque_Z=ALT", "",
        "Option2=1 & Text3=Point [on] & Text4=Point_Mat [on] & Text5=Point_Z [on]");
    row("empty values",
        "Calque_Matricule= & Calque_Z= & Inc_Num=1 & Num_Premier_Pt=100 & Num_Pt_Dxf=", "",
        "Check3=0 & Text4= [off] & Check4=0 & Text5= [off] & Check5=1 & Text6=100 [on] & "
        "Check7=1 & Text7= [on]");
    row("values the dialog does not know",
        "Dxf_Format=XX & Fich_Dim=4D & Calque_Point=PTS & Inc_Num=2 & App/ExtCfg=oui", "",
        "Option1=0 & Option2=0 & Text3=PTS [on] & Option3=0 & Option4=0 & Check5=0 & Check6=0");

    // Confirming with "Ok" saves and sets the run's settings.
    row("separators, layer, numbering", "",
        "select Combo1 1 & select Combo2 4 & click Check1 & type Text1 | & clear Text3 & "
        "type Text3 BORNES & click Check5 & type Text6 0 & clear Text7 & type Text7 500 & "
        "click Command1",
        "Separateur_Lec=; & Separateur_Ecr=\t & Separateur_Autre_Lec=| & Separateur_Autre_Ecr= & "
        "Calque_Point=BORNES & Calque_Matricule=1 & Inc_Num=1 & Num_Premier_Pt=10 & "
        "Num_Pt_Dxf=500 & mem:Separateur_Lec=; & mem:Separateur_Ecr=\t & "
        "mem:Separateur_Autre_Lec=| & mem:Calque_Point=BORNES & mem:Calque_Matricule=1 & "
        "mem:Inc_Num=1 & mem:Num_Premier_Pt=10 & mem:Num_Pt_Dxf=500");
    // Ticked empty or switched off, the values are emptied; but the store
    // keeps the identifier layer's name, memory does not: the DXF writer then
    // puts the identifiers on an unnamed layer.
    row("every box switched",
        "Separateur_Autre_Lec=| & Calque_Matricule=MAT & Calque_Z=ALT & "
        "Inc_Num=1 & Num_Premier_Pt=7 & Num_Pt_Dxf=12",
        "click Check1 & click Check2 & click Check3 & click Check4 & click Check5 & click Check7 & "
        "click Command1",
        "Separateur_Autre_Lec= & Separateur_Autre_Ecr= & Calque_Matricule=MAT & Calque_Z= & "
        "mem:Calque_Matricule= & mem:Calque_Z= & Inc_Num=0 & Num_Premier_Pt= & Num_Pt_Dxf=");
    row("AutoCAD 3D, Z layer off", "",
        "click Check4 & click Option2 & click Option4 & click Command1",
        "Dxf_Format=AC & Fich_Dim=3D & Calque_Point=Point & Calque_Matricule=Point_Mat & "
        "Calque_Z= & mem:Dxf_Format=AC & mem:Fich_Dim=3D & mem:Calque_Z=");
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

    // The fields' rules: a refused key never reaches the field, a refused
    // change is worked back from the cursor, one message per character. Only
    // the change test sees a paste: blanks get through.
    row("layer names pasted", "",
        "clear Text3 & paste Text3 A B & clear Text5 & paste Text5 a/b & clear Text4 & "
        "type Text4 AB & cursor Text4 1 & paste Text4 /",
        "Text3=A B [on] & Text5=a [on] & Text4=AB [on]", QStringList(3, layerBox));
    row("separator pasted", "", "click Check1 & type Text1 a & paste Text1 .", "Text1=a. [on]");
    // Every rule for every field it covers: the keys and changes each field
    // refuses (and the characters it keeps), and the refill of each field
    // left empty, under each flavour.
    const QString layerBoxes = QStringList(4, layerBox).join(u'|');
    struct FieldRule {
        const char* field;
        const char* before; // what makes the field editable
        const char* typed;
        const char* kept;
        QString boxes;
        const char* microstation; // refill when left empty
        const char* autocad;
    };
    const FieldRule rules[] = {
        {"Text3", "clear Text3", "A B\u00A0C/\u00E9-$_9z", "ABC-$_9z", layerBoxes, "1", "Point"},
        {"Text4", "clear Text4", "A B\u00A0C/\u00E9-$_9z", "ABC-$_9z", layerBoxes, "2",
         "Point_Mat"},
        {"Text5", "clear Text5", "A B\u00A0C/\u00E9-$_9z", "ABC-$_9z", layerBoxes, "3", "Point_Z"},
        {"Text6", "click Check5 & clear Text6", "1-2a3 ", "123",
         QStringList(3, numberBox).join(u'|'), "1", "1"},
        {"Text7", "clear Text7", "1-2a3 ", "123", QStringList(3, numberBox).join(u'|'), "1", "1"},
        {"Text1", "click Check1", "a.b\u00B4c-", "abc-", QStringList(2, forbiddenBox).join(u'|'),
         "", ""},
        {"Text2", "click Check2", "a.b\u00B4c-", "abc-", QStringList(2, forbiddenBox).join(u'|'),
         "", ""},
    };
    for (const FieldRule& rule : rules) {
        const QString field = QString::fromLatin1(rule.field);
        const auto add = [&](const QString& name, const char* stored, const QString& actions,
                             const QString& expected, const QStringList& boxes) {
            row(name.toUtf8().constData(), stored, actions.toUtf8().constData(),
                expected.toUtf8().constData(), boxes);
        };
        add(QStringLiteral("typed into ") + field, "",
            QStringLiteral("%1 & type %2 %3")
                .arg(rule.before, field, QString::fromUtf8(rule.typed)),
            QStringLiteral("%1=%2 [on]").arg(field, rule.kept), rule.boxes.split(u'|'));
        add(QStringLiteral("left empty, Microstation: ") + field, "",
            QStringLiteral("%1 & leave %2").arg(rule.before, field),
            QStringLiteral("%1=%2 [on]").arg(field, rule.microstation), {});
        add(QStringLiteral("left empty, AutoCAD: ") + field, "Dxf_Format=AC",
            QStringLiteral("%1 & leave %2").arg(rule.before, field),
            QStringLiteral("%1=%2 [on]").arg(field, rule.autocad), {});
    }
    // Only a settings file written by hand holds other values than "0" and
    // "1": a number other than 0 ticks the box, whose rule stores "1".
    row("ExtCfg 2", "App/ExtCfg=2", "", "Check6=1 & App/ExtCfg=1");
    row("ExtCfg 0,0", "App/ExtCfg=0,0", "", "Check6=0 & App/ExtCfg=0,0");
    // A message box over the dialog (a rejected key) is not a loss of focus.
    row("empty while a box shows", "", "clear Text3 & window Text3", "Text3= [on]");
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
    for (const QString& action : items(actions)) {
        f.act(action);
        if (QTest::currentTestFailed())
            return;
    }
    const bool closed = actions.contains(QStringLiteral("click Command"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(f.dialog.isNull(), closed);
    for (const QString& entry : items(expected)) {
        const QString key = entry.section(u'=', 0, 0);
        QCOMPARE(key + u'=' + f.valueOf(key), entry);
    }
    QCOMPARE(shownBoxes(f.boxes), boxes);
}

TOVALIN_TEST(TestForm2)
#include "tst_Form2.moc"
