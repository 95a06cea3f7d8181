#include "TestRunner.h"
#include "WindowFixture.h"

#include "platform/Printer.h"
#include "printing/Form6.h"
#include "printing/PrintingCommands.h"

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");
const QString invalidCallReport = QStringLiteral(
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

// The main window with points, the printing command wired to a scripted
// printer.
struct PrintFixture : WindowFixture {
    ScriptedPrinter printer;

    explicit PrintFixture(int points = 2) : WindowFixture(pointsOf(points)) {
        printer.installed = threePrinters();
        printer.current = QStringLiteral("Bureau");
        InstallPrintingCommands(window, printer);
    }
    static std::vector<PointRecord> pointsOf(int count) {
        std::vector<PointRecord> points;
        for (int i = 1; i <= count; ++i)
            points.push_back({100.0 * i, 200.0 * i, 1.5, QStringLiteral("P") + QChar(u'0' + i)});
        return points;
    }
    Form6* dialog() const { return window.findChild<Form6*>(QStringLiteral("Form6")); }
    template <typename T> T* control(const char* name) const {
        return dialog() ? child<T>(dialog(), name) : nullptr;
    }
    QString text(const char* label) const { return control<QLabel>(label)->text(); }
    void choose(int index) {
        QComboBox* combo = control<QComboBox>("Combo1");
        combo->setCurrentIndex(index);
        emit combo->activated(index);
    }
    QString orientation() const {
        return control<QRadioButton>("Option2")->isChecked()   ? QStringLiteral("Paysage")
               : control<QRadioButton>("Option1")->isChecked() ? QStringLiteral("Portrait")
                                                               : QStringLiteral("none");
    }
};

} // namespace

class tst_Form6 : public QObject {
    Q_OBJECT
private slots:
    void init() { QLocale::setDefault(frenchFormat()); }

    // Every control, in its order on the form, with its caption; the printer
    // table is there but never shown.
    void controls() {
        PrintFixture f;
        f.trigger("print");
        Form6* dialog = f.dialog();
        QVERIFY(dialog != nullptr);
        QVERIFY(dialog->isVisible());
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Impression"));
        QStringList shown;
        for (QObject* object : dialog->children()) {
            auto* widget = qobject_cast<QWidget*>(object);
            if (widget == nullptr)
                continue;
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
        QVERIFY(!f.control<QListWidget>("List1")->isVisible());
        QCOMPARE(f.orientation(), QStringLiteral("none"));
    }

    void load_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("combo");
        QTest::addColumn<QString>("driver");
        QTest::addColumn<QString>("port");
        QTest::newRow("nothing remembered: the first printer") << QString() << "Bureau"
                                                               << "HP LaserJet 4"
                                                               << "LPT1";
        QTest::newRow("remembered under Param\u00E8tre: that printer")
            << QStringLiteral("Param\u00E8tre/NomImp=Atelier") << "Atelier"
            << "Epson 24"
            << "usb://E/";
        QTest::newRow("only under Divers, where choosing saves it: the first printer")
            << QStringLiteral("Divers/NomImp=Plans") << "Bureau"
            << "HP LaserJet 4"
            << "LPT1";
        QTest::newRow("a name matches exactly or not at all")
            << QStringLiteral("Param\u00E8tre/NomImp=atelier") << "Bureau"
            << "HP LaserJet 4"
            << "LPT1";
    }
    void load() {
        QFETCH(QString, stored);
        QFETCH(QString, combo);
        QFETCH(QString, driver);
        QFETCH(QString, port);
        PrintFixture f;
        if (!stored.isEmpty())
            f.settings.values.insert(stored.section(u'=', 0, 0), stored.section(u'=', 1));
        f.trigger("print");
        QVERIFY(f.dialog() != nullptr);
        QComboBox* names = f.control<QComboBox>("Combo1");
        QCOMPARE(names->count(), 3);
        QCOMPARE(names->currentText(), combo);
        QCOMPARE(f.text("Label2"), QStringLiteral("Pilote utilis\u00E9 : ") + driver);
        QCOMPARE(f.text("Label3"), QStringLiteral("Port utilis\u00E9 : ") + port);
        QStringList table;
        QListWidget* list = f.control<QListWidget>("List1");
        for (int i = 0; i < list->count(); ++i)
            table << list->item(i)->text();
        QCOMPARE(table, QStringList({"Bureau", "HP LaserJet 4", "LPT1:", "1", "Plans",
                                     "Generic PDF", "file:///tmp/plans.pdf", "2", "Atelier",
                                     "Epson 24", "usb://E/1", "1"}));
        // Opening changes nothing: no setting written, the printer unchanged.
        QVERIFY(!f.settings.values.contains(QStringLiteral("Divers/NomImp")) ||
                stored.startsWith(QStringLiteral("Divers")));
        QCOMPARE(f.printer.current, QStringLiteral("Bureau"));
    }

    void choose_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("orientation");
        QTest::addColumn<QString>("port");
        QTest::newRow("landscape printer") << 1 << "Paysage"
                                           << "file:///tmp/plans.pd";
        QTest::newRow("portrait printer") << 2 << "Portrait"
                                          << "usb://E/";
    }
    // Choosing shows the printer, its orientation, saves it under Divers and
    // makes it the current printer; the next opening still shows the first.
    void choose() {
        QFETCH(int, index);
        QFETCH(QString, orientation);
        QFETCH(QString, port);
        PrintFixture f;
        f.trigger("print");
        f.choose(index);
        const QString name = threePrinters()[std::size_t(index)].DeviceName;
        QCOMPARE(f.orientation(), orientation);
        QCOMPARE(f.text("Label3"), QStringLiteral("Port utilis\u00E9 : ") + port);
        QCOMPARE(f.text("Label2"), QStringLiteral("Pilote utilis\u00E9 : ") +
                                       threePrinters()[std::size_t(index)].DriverName);
        QCOMPARE(f.settings.values.value(QStringLiteral("Divers/NomImp")), name);
        QVERIFY(!f.settings.values.contains(QStringLiteral("Param\u00E8tre/NomImp")));
        QCOMPARE(f.printer.current, name);

        f.control<QPushButton>("Command2")->click();
        QTRY_VERIFY(f.dialog() == nullptr);
        QCOMPARE(f.printer.current, name); // stays the program's printer
        f.trigger("print");
        QCOMPARE(f.control<QComboBox>("Combo1")->currentText(), QStringLiteral("Bureau"));
        QVERIFY(f.boxes.boxes().empty());
    }

    void printAndClose() {
        PrintFixture f(3);
        f.state.CurrentFileName = QStringLiteral("/terrain/jour1.xyz");
        const QString caption = f.window.windowTitle();
        f.trigger("print");
        f.control<QPushButton>("Command1")->click();
        QTRY_VERIFY(f.dialog() == nullptr);
        QCOMPARE(f.printer.ended.size(), std::size_t(1));
        const QStringList lines = f.printer.ended.front();
        QCOMPARE(lines.size(), 7);
        QCOMPARE(lines[3], QStringLiteral("Fichier : /terrain/jour1.xyz"));
        QCOMPARE(lines[6], QStringLiteral("Matricule : P3     X : 300,000     Y : 600,000     Z : "
                                          "1,500"));
        QCOMPARE(f.window.windowTitle(), caption);
        QVERIFY(f.boxes.boxes().empty());
        QVERIFY(f.window.menuBar()->isEnabled());
    }

    // The error message, the document cancelled; the dialog stays for another
    // try, which prints.
    void errorKeepsTheDialog() {
        PrintFixture f;
        f.printer.failAtLine = 3;
        f.boxes.answerMessage(MsgAnswer::Ok);
        f.trigger("print");
        f.control<QPushButton>("Command1")->click();
        QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
        QCOMPARE(f.printer.killed, 1);
        QVERIFY(f.printer.ended.empty());
        QVERIFY(f.dialog() != nullptr && f.dialog()->isVisible());
        QVERIFY(f.dialog()->isEnabled());
        f.printer.failAtLine = 0;
        f.control<QPushButton>("Command1")->click();
        QTRY_VERIFY(f.dialog() == nullptr);
        QCOMPARE(f.printer.ended.size(), std::size_t(1));
    }

    void emptyListDoesNothing() {
        PrintFixture f(0);
        f.trigger("print");
        QVERIFY(f.dialog() == nullptr);
        QVERIFY(f.boxes.boxes().empty());
    }

    void loadFailures_data() {
        QTest::addColumn<bool>("noPrinter");
        QTest::newRow("no printer at all") << true;
        QTest::newRow("a port of zero length") << false;
    }
    // The load fails with the run-time error report; no dialog is left and the
    // program goes on (the points are still there, the menu answers).
    void loadFailures() {
        QFETCH(bool, noPrinter);
        PrintFixture f;
        if (noPrinter)
            f.printer.installed.clear();
        else
            f.printer.installed[0].Port.clear();
        f.boxes.answerMessage(MsgAnswer::Ok);
        f.trigger("print");
        QCOMPARE(shownBoxes(f.boxes), QStringList{invalidCallReport});
        QVERIFY(f.dialog() == nullptr);
        QCOMPARE(f.state.Grid.rows(), 3);
        QVERIFY(f.window.menuBar()->isEnabled());
        f.printer.installed = threePrinters();
        f.trigger("print");
        QVERIFY(f.dialog() != nullptr);
    }

    // A printer whose port is empty fails when chosen, with the same report;
    // the dialog stays.
    void choosingAnEmptyPort() {
        PrintFixture f;
        f.printer.installed[2].Port.clear();
        f.trigger("print");
        f.boxes.answerMessage(MsgAnswer::Ok);
        f.choose(2);
        QCOMPARE(shownBoxes(f.boxes), QStringList{invalidCallReport});
        QVERIFY(f.dialog() != nullptr);
        QCOMPARE(f.printer.current, QStringLiteral("Bureau"));
    }

    void portShown_data() {
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("shown");
        QTest::newRow("LPT1:") << "LPT1:"
                               << "LPT1";
        QTest::newRow("one character") << "x"
                                       << "";
        QTest::newRow("an address") << "ipp://h/p"
                                    << "ipp://h/";
    }
    void portShown() {
        QFETCH(QString, port);
        QFETCH(QString, shown);
        QCOMPARE(Form6::PortShown(port), shown);
    }
};

TOVALIN_TEST(tst_Form6)
#include "tst_Form6.moc"
