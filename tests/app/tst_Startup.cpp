#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/Startup.h"
#include "platform/RuntimeError.h"

#include <QFile>

using namespace testing;
using namespace platform;

namespace {

QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

struct Start {
    QByteArray ini;
    QByteArray mail; // "-": no mail settings file
    int error;
    QString settings; // with SepSys last
    QString shown;    // 1234.5 as the list shows it; "": start-up stopped before the list
    QString addresses;
    QString box = {};
};

} // namespace
Q_DECLARE_METATYPE(Start)

class TestStartup : public QObject {
    Q_OBJECT
private slots:
    void init() { QFile::remove(iniPath()); }
    void startUp_data();
    void startUp();
};

void TestStartup::startUp_data() {
    const QString first = QStringLiteral(
        "Separateur_Lec=, & Separateur_Ecr=, & Separateur_Autre_Lec= & Separateur_Autre_Ecr= & "
        "Calque_Point=0 & Calque_Matricule=0 & Calque_Z=0 & Num_Premier_Pt=0 & Inc_Num=0 & "
        "Num_Pt_Dxf=1 & Dxf_Format=MS & Fich_Dim=2D & NbDec=0.000 & SepSys=");
    Rows<Start> row;
    row("first run", {"", mailFile, 0, first + u'0', "1234,500", "site|mail"});
    // Absent keys keep their defaults; NbDec and SepSys drive the list's format.
    row("hand written",
        {"[Param\xc3\xa8tre]\nSeparateur_Lec=;\nCalque_Point=POINTS\nInc_Num=1\n"
         "Num_Premier_Pt=100\nFich_Dim=3D\n[App]\nNbDec=0.00\nSepSys=1\n",
         mailFile, 0,
         "Separateur_Lec=; & Separateur_Ecr=, & Separateur_Autre_Lec= & Separateur_Autre_Ecr= & "
         "Calque_Point=POINTS & Calque_Matricule=0 & Calque_Z=0 & Num_Premier_Pt=100 & "
         "Inc_Num=1 & Num_Pt_Dxf=1 & Dxf_Format=MS & Fich_Dim=3D & NbDec=0.00 & SepSys=1",
         "1\u202f234,50", "site|mail"});
    // A SepSys that is no number stops start-up before the list and the mail file.
    row("SepSys text", {"[App]\nSepSys=oui\n", mailFile, 13, "", "", "|"});
    row("SepSys empty", {"[App]\nSepSys=\"\"\n", mailFile, 13, "", "", "|"});
    row("SepSys too large", {"[App]\nSepSys=40000\n", mailFile, 6, "", "", "|"});
    row("SepSys comma rounds half to even",
        {"[App]\nSepSys=\"2,5\"\n", mailFile, 0, first + u'2', "1234,500", "site|mail"});
    row("SepSys blanks around",
        {"[App]\nSepSys=\" 1 \"\n", mailFile, 0, first + u'1', "1\u202f234,500", "site|mail"});
    row("no mail file",
        {"", "-", 0, first + u'0', "1234,500", "|",
         "Tovalin: Une erreur c'est produite\r\nVous devez réinstaller Tovalin [critical ok]"});
    row("short mail file",
        {"", "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\n", 62, first + u'0', "1234,500", "site|"});
}

void TestStartup::startUp() {
    QFETCH(Start, c);
    RegionalFormatScope scope(frenchFormat());
    if (!c.ini.isEmpty())
        writeBytes(iniPath(), c.ini);
    QTemporaryDir dir;
    if (c.mail != "-")
        writeBytes(dir.filePath(QStringLiteral("atm.bin")), c.mail);
    IniSettingsStore store;
    ScriptedDialogs boxes;
    boxes.setThrowOnUnexpected(false);
    GestionDonnee state;
    state.DataModified = true;
    int raised = 0;
    try {
        LoadMainWindow(state, store, boxes, dir.path());
    } catch (const RuntimeError& e) {
        raised = e.number();
    }
    QCOMPARE(raised, c.error);
    const bool started = !c.shown.isEmpty();
    if (started) {
        QCOMPARE(memorySettings(state.Settings), items(c.settings));
        QCOMPARE(state.FormatCoordinate(1234.5), c.shown);
        QCOMPARE(gridRow(state, 0), items("Matricule & X & Y & Z"));
        QCOMPARE(state.Grid.colWidth(0), 1000);
        QCOMPARE(state.Grid.colWidth(3), 1100);
    } else {
        QCOMPARE(state.Grid.textMatrix(0, 0), QString());
    }
    QCOMPARE(state.DataModified, !started);
    QCOMPARE(state.WebSiteAddress + u'|' + state.SupportAddress, c.addresses);
    QCOMPARE(shownBoxes(boxes), items(c.box));
    // The program's folder is written at every start, and nothing else.
    IniSettingsStore reread;
    QCOMPARE(reread.value(sections::app(), QStringLiteral("Path"), QString()),
             started ? dir.path() : QString());
    QCOMPARE(reread.value(sections::parametre(), "Separateur_Ecr", "-"), QStringLiteral("-"));
}

TOVALIN_TEST(TestStartup)
#include "tst_Startup.moc"
