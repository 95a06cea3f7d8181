#include "TestRunner.h"
#include "WindowFixture.h"

#include "platform/NumberText.h"
#include "platform/Printer.h"
#include "printing/Form6.h"
#include "printing/PrintingCommands.h"

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");
const QString invalidCall = QStringLiteral(
    "Tovalin: Erreur d'ex\u00E9cution '5' :\n\nArgument ou appel de proc\u00E9dure incorrect "
    "[critical ok]");

std::vector<InstalledPrinter> threePrinters() {
    return {{QStringLiteral("Bureau"), QStringLiteral("HP LaserJet 4"), QStringLiteral("LPT1:"),
             OrientationPortrait},
            {QStringLiteral("Plans"), QStringLiteral("Generic PDF"),
             QStringLiteral("file:///tmp/plans.pdf"), OrientationLandscape},
            {QStringLiteral("Atelier"), QStringLiteral("Epson 24"), QStringLiteral("usb://E/1"),
             OrientationPortrait}};
}

std::vector<PointRecord> pointsOf(int count) {
    std::vector<PointRecord> points;
    for (int i = 1; i <= count; ++i)
        points.push_back({100.0 * i, 200.0 * i, 1.5, QStringLiteral("P") + QChar(u'0' + i)});
    return points;
}

// The main window with points, the printing command wired to a scripted
// printer whose current queue is the first.
struct PrintFixture : WindowFixture {
    ScriptedPrinter printer;

    explicit PrintFixture(int points) : WindowFixture(pointsOf(points)) {
        printer.installed = threePrinters();
        printer.current = QStringLiteral("Bureau");
        state.CurrentFileName = QStringLiteral("/terrain/jour1.xyz");
        InstallPrintingCommands(window, printer);
    }
    Form6* dialog() const { return window.findChild<Form6*>(QStringLiteral("Form6")); }
    template <typename T> T* control(const char* name) const { return child<T>(dialog(), name); }

    // One step: "open" (the menu item), "choose N" (a queue picked in the
    // list), "click CommandN", "fail N" (the printer fails at line N, 0 for
    // never), "no printer", "no port N" (queue N has an empty port),
    // "restore" (the three queues back).
    void act(const QString& step) {
        const auto n = [&] { return CInt(step.section(u' ', -1)); };
        if (step == u"open") {
            trigger("print");
        } else if ((step.startsWith(u"choose") || step.startsWith(u"click")) && !dialog()) {
            QFAIL(qPrintable(step + QStringLiteral(": no dialog")));
        } else if (step.startsWith(u"choose")) {
            control<QComboBox>("Combo1")->setCurrentIndex(n());
            emit control<QComboBox>("Combo1")->activated(n());
        } else if (step.startsWith(u"click")) {
            control<QPushButton>(qPrintable(step.section(u' ', 1)))->click();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        } else if (step.startsWith(u"fail")) {
            printer.failAtLine = n();
        } else if (step == u"no printer") {
            printer.installed.clear();
        } else if (step.startsWith(u"no port")) {
            printer.installed[std::size_t(n())].Port.clear();
        } else if (step == u"restore") {
            printer.installed = threePrinters();
        } else {
            QFAIL(qPrintable(step));
        }
    }
    // What the user sees: the dialog's queue, driver, port and orientation
    // (or "closed"), the queue saved and in use, the documents printed (their
    // line count and file line), those cancelled, the boxes shown.
    QString seen() const {
        QString out;
        if (Form6* d = dialog()) {
            const QString orientation = control<QRadioButton>("Option2")->isChecked()   ? "Paysage"
                                        : control<QRadioButton>("Option1")->isChecked() ? "Portrait"
                                                                                        : "none";
            out = control<QComboBox>("Combo1")->currentText() + u'|' +
                  control<QLabel>("Label2")->text() + u'|' + control<QLabel>("Label3")->text() +
                  u'|' + orientation + (d->isEnabled() ? "" : " disabled");
        } else {
            out = QStringLiteral("closed");
        }
        out += QStringLiteral(" saved=") +
               settings.values.value(QStringLiteral("Divers/NomImp"), QStringLiteral("-")) +
               QStringLiteral(" current=") + printer.current;
        for (const QStringList& lines : printer.ended)
            out += QStringLiteral(" printed=%1:%2").arg(lines.size()).arg(lines.value(3));
        if (printer.killed > 0)
            out += QStringLiteral(" killed=%1").arg(printer.killed);
        for (const QString& box : shownBoxes(boxes))
            out += QStringLiteral(" box=") + box;
        return out;
    }
};

struct Run {
    int points;
    QString stored; // "Section/NomImp=name", or nothing
    QString steps;  // " & " between steps
    QString seen;
};

const char* bureau = "Bureau|Pilote utilis\u00E9 : HP LaserJet 4|Port utilis\u00E9 : LPT1|none";

} // namespace
Q_DECLARE_METATYPE(Run)

class tst_Form6 : public QObject {
    Q_OBJECT
private slots:
    void init() { QLocale::setDefault(frenchFormat()); }

    // Every control, in its order on the form, with its caption; the printer
    // table is there, four entries a queue, but never shown.
    void controls() {
        PrintFixture f(2);
        f.trigger("print");
        Form6* dialog = f.dialog();
        QVERIFY(dialog != nullptr);
        QVERIFY(dialog->isVisible() && !dialog->isModal());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Impression"));
        QStringList shown;
        for (QWidget* widget : dialog->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            QString caption;
            if (auto* button = qobject_cast<QAbstractButton*>(widget))
                caption = button->text();
            else if (auto* box = qobject_cast<QGroupBox*>(widget))
                caption = box->title();
            else if (auto* label = qobject_cast<QLabel*>(widget))
                caption = label->pixmap().isNull() ? label->text() : QStringLiteral("picture");
            shown << widget->objectName() + u'=' + caption;
        }
        QCOMPARE(shown, QStringList({"Command2=Annuler", "Command1=Imprimer", "Frame1=Orientation",
                                     "List1=", "Combo1=", "Label3=Port utilis\u00E9 : LPT1",
                                     "Label2=Pilote utilis\u00E9 : HP LaserJet 4",
                                     "Label1=Imprimante : ", "Image1=picture"}));
        QCOMPARE(f.control<QRadioButton>("Option2")->text(), QStringLiteral("Paysage"));
        QCOMPARE(f.control<QRadioButton>("Option1")->text(), QStringLiteral("Portrait"));
        QCOMPARE(f.control<QRadioButton>("Option1")->parent(), f.control<QGroupBox>("Frame1"));
        QCOMPARE(f.control<QComboBox>("Combo1")->count(), 3);
        QCOMPARE(f.control<QListWidget>("List1")->count(), 12);
        QVERIFY(!f.control<QListWidget>("List1")->isVisible());
    }

    void run_data() {
        Rows<Run> row;
        const QString plans = "Plans|Pilote utilis\u00E9 : Generic PDF|Port utilis\u00E9 : "
                              "file:///tmp/plans.pd|Paysage";
        const QString atelier = "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 : "
                                "usb://E/|Portrait";
        const QString printed = " printed=7:Fichier : /terrain/jour1.xyz";
        // Opening shows the queue remembered under "Paramètre", else the
        // first; it saves nothing and leaves the printer in use alone.
        row("nothing remembered", {2, "", "open", bureau + QString(" saved=- current=Bureau")});
        row("remembered under Paramètre",
            {2, "Param\u00E8tre/NomImp=Atelier", "open",
             "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 "
             ": usb://E/|none saved=- current=Bureau"});
        // Where choosing saves it, yet not where the dialog looks.
        row("remembered under Divers only",
            {2, "Divers/NomImp=Plans", "open", bureau + QString(" saved=Plans current=Bureau")});
        row("names match exactly", {2, "Param\u00E8tre/NomImp=atelier", "open",
                                    bureau + QString(" saved=- current=Bureau")});
        // Choosing shows the queue and its orientation, saves it under
        // "Divers" and makes it the printer in use, which it stays; the next
        // opening still shows the first.
        row("landscape queue chosen",
            {2, "", "open & choose 1", plans + " saved=Plans current=Plans"});
        row("portrait queue chosen",
            {2, "", "open & choose 2", atelier + " saved=Atelier current=Atelier"});
        row("chosen, closed, opened", {2, "", "open & choose 1 & click Command2 & open",
                                       bureau + QString(" saved=Plans current=Plans")});
        // Printing closes the dialog; an error cancels the document and keeps
        // the dialog for another try.
        row("printed", {3, "", "open & click Command1", "closed saved=- current=Bureau" + printed});
        row("error keeps the dialog",
            {3, "", "fail 3 & open & click Command1",
             bureau + QString(" saved=- current=Bureau killed=1 box=") + errorBox});
        row("error, then printed",
            {3, "", "fail 3 & open & click Command1 & fail 0 & click Command1",
             "closed saved=- current=Bureau" + printed + " killed=1 box=" + errorBox});
        // An empty list: nothing at all, not even a message.
        row("empty list", {0, "", "open", "closed saved=- current=Bureau"});
        // A load that fails reports the error and leaves no dialog; the menu
        // still answers. A queue chosen with an empty port fails the same way.
        row("no printer",
            {2, "", "no printer & open", "closed saved=- current=Bureau box=" + invalidCall});
        row("first port empty", {2, "", "no port 0 & open & restore & open",
                                 bureau + QString(" saved=- current=Bureau box=") + invalidCall});
        row("chosen port empty",
            {2, "", "no port 2 & open & choose 2",
             "Atelier|Pilote utilis\u00E9 : Epson 24|Port utilis\u00E9 : LPT1|none "
             "saved=- current=Bureau box=" +
                 invalidCall});
    }
    void run() {
        QFETCH(Run, c);
        PrintFixture f(c.points);
        if (!c.stored.isEmpty())
            f.settings.values.insert(c.stored.section(u'=', 0, 0), c.stored.section(u'=', 1));
        const QString caption = f.window.windowTitle();
        for (const QString& step : items(c.steps)) {
            f.act(step);
            if (QTest::currentTestFailed())
                return;
        }
        QCOMPARE(f.seen(), c.seen);
        QCOMPARE(f.window.windowTitle(), caption);
        QVERIFY(f.window.menuBar()->isEnabled());
        QCOMPARE(f.state.Grid.rows(), c.points + 1);
    }
};

TOVALIN_TEST(tst_Form6)
#include "tst_Form6.moc"
