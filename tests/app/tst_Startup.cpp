#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "app/GestionDonnee.h"
#include "app/Startup.h"
#include "platform/RuntimeError.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

void writeIni(const QByteArray& utf8) {
    writeBytes(iniPath(), utf8);
}

QString folderWithMailFile(const QTemporaryDir& dir, const QByteArray& content) {
    writeBytes(dir.filePath(QStringLiteral("atm.bin")), content);
    return dir.path();
}

const QByteArray
    mailFile("1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nhttps://www.example.org/\r\nsupport@example.org\r\n");

} // namespace

class TestStartup : public QObject {
    Q_OBJECT
private slots:
    void init() { QFile::remove(iniPath()); }
    void defaultsOnFirstRun();
    void handWrittenSettingsAreRead();
    void sepSysMustBeANumber_data();
    void sepSysMustBeANumber();
    void missingMailFile();
    void shortMailFileIsAnError();
    void closingQuestion_data();
    void closingQuestion();
    void baseNameOf_data();
    void baseNameOf();
};

void TestStartup::defaultsOnFirstRun() {
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    IniSettingsStore store;
    ScriptedDialogs boxes;
    GestionDonnee state;
    state.DataModified = true;
    LoadMainWindow(state, store, boxes, folderWithMailFile(dir, mailFile));

    const InMemorySettings& s = state.Settings;
    const QStringList values{s.Separateur_Lec.toText(),
                             s.Separateur_Ecr.toText(),
                             s.Separateur_Autre_Lec.toText(),
                             s.Separateur_Autre_Ecr.toText(),
                             s.Calque_Point.toText(),
                             s.Calque_Matricule.toText(),
                             s.Calque_Z.toText(),
                             s.Num_Premier_Pt.toText(),
                             s.Inc_Num.toText(),
                             s.Num_Pt_Dxf.toText(),
                             s.Dxf_Format.toText(),
                             s.Fich_Dim.toText()};
    QCOMPARE(values, (QStringList{",", ",", "", "", "0", "0", "0", "0", "0", "1", "MS", "2D"}));
    QCOMPARE(s.NbDec, QStringLiteral("0.000"));
    QCOMPARE(s.SepSys, int16_t(0));
    QCOMPARE(state.DataModified, false);
    QCOMPARE(state.Grid.rows(), 1);
    QCOMPARE(state.Grid.textMatrix(0, 0), QStringLiteral("Matricule"));
    QCOMPARE(state.Grid.textMatrix(0, 3), QStringLiteral("Z"));
    QCOMPARE(state.Grid.colWidth(0), 1000);
    QCOMPARE(state.Grid.colWidth(3), 1100);
    QCOMPARE(state.WebSiteAddress, QStringLiteral("https://www.example.org/"));
    QCOMPARE(state.SupportAddress, QStringLiteral("support@example.org"));
    QVERIFY(boxes.boxes().empty());
    // The program's folder is written at every start, and nothing else.
    IniSettingsStore reread;
    QCOMPARE(reread.value(QStringLiteral("App"), QStringLiteral("Path"), QString()), dir.path());
    QCOMPARE(reread.value(QStringLiteral("Paramètre"), QStringLiteral("Inc_Num"),
                          QStringLiteral("absent")),
             QStringLiteral("absent"));
}

void TestStartup::handWrittenSettingsAreRead() {
    RegionalFormatScope scope(frenchFormat());
    writeIni("[Param\xc3\xa8tre]\n"
             "Separateur_Lec=;\n"
             "Calque_Point=POINTS\n"
             "Inc_Num=1\n"
             "Num_Premier_Pt=100\n"
             "Fich_Dim=3D\n"
             "[App]\n"
             "NbDec=0.00\n"
             "SepSys=1\n");
    QTemporaryDir dir;
    IniSettingsStore store;
    ScriptedDialogs boxes;
    GestionDonnee state;
    LoadMainWindow(state, store, boxes, folderWithMailFile(dir, mailFile));
    QCOMPARE(state.Settings.Separateur_Lec.toText(), QStringLiteral(";"));
    QCOMPARE(state.Settings.Calque_Point.toText(), QStringLiteral("POINTS"));
    QCOMPARE(state.Settings.Inc_Num.toText(), QStringLiteral("1"));
    QCOMPARE(state.Settings.Num_Premier_Pt.toText(), QStringLiteral("100"));
    QCOMPARE(state.Settings.Fich_Dim.toText(), QStringLiteral("3D"));
    // Absent keys keep their defaults.
    QCOMPARE(state.Settings.Separateur_Ecr.toText(), QStringLiteral(","));
    QCOMPARE(state.Settings.Dxf_Format.toText(), QStringLiteral("MS"));
    QCOMPARE(state.Settings.NbDec, QStringLiteral("0.00"));
    QCOMPARE(state.Settings.SepSys, int16_t(1));
    // And they drive the display format.
    QCOMPARE(state.FormatCoordinate(1234.5), QString::fromUtf8("1\u202f234,50"));
}

void TestStartup::sepSysMustBeANumber_data() {
    QTest::addColumn<QByteArray>("sepSys");
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("expected");
    QTest::newRow("text") << QByteArray("oui") << 13 << 0;
    QTest::newRow("empty") << QByteArray("\"\"") << 13 << 0;
    QTest::newRow("too large") << QByteArray("40000") << 6 << 0;
    QTest::newRow("decimal comma rounds half to even") << QByteArray("\"2,5\"") << 0 << 2;
    QTest::newRow("blanks around") << QByteArray("\" 1 \"") << 0 << 1;
}

void TestStartup::sepSysMustBeANumber() {
    QFETCH(QByteArray, sepSys);
    QFETCH(int, error);
    QFETCH(int, expected);
    RegionalFormatScope scope(frenchFormat());
    writeIni("[App]\nSepSys=" + sepSys + "\n");
    QTemporaryDir dir;
    IniSettingsStore store;
    ScriptedDialogs boxes;
    GestionDonnee state;
    int raised = 0;
    try {
        LoadMainWindow(state, store, boxes, folderWithMailFile(dir, mailFile));
    } catch (const RuntimeError& e) {
        raised = e.number();
    }
    QCOMPARE(raised, error);
    if (error != 0) {
        // Start-up stopped there: the header row and the mail file were not reached.
        QCOMPARE(state.Grid.textMatrix(0, 0), QString());
        QCOMPARE(state.WebSiteAddress, QString());
    } else {
        QCOMPARE(state.Settings.SepSys, int16_t(expected));
    }
}

void TestStartup::missingMailFile() {
    QTemporaryDir dir;
    IniSettingsStore store;
    ScriptedDialogs boxes;
    boxes.answerMessage(MsgAnswer::Ok);
    GestionDonnee state;
    LoadMainWindow(state, store, boxes, dir.path());
    QCOMPARE(boxes.boxes().size(), 1u);
    const RecordedBox& box = boxes.boxes().front();
    QCOMPARE(box.prompt,
             QStringLiteral("Une erreur c'est produite\r\nVous devez réinstaller Tovalin"));
    QCOMPARE(box.icon, MsgIcon::Critical);
    QCOMPARE(box.buttons, MsgButtons::Ok);
    QCOMPARE(box.title, QStringLiteral("Tovalin"));
    QCOMPARE(state.WebSiteAddress, QString());
    // Start-up went on up to there.
    QCOMPARE(state.Grid.textMatrix(0, 1), QStringLiteral("X"));
}

void TestStartup::shortMailFileIsAnError() {
    QTemporaryDir dir;
    IniSettingsStore store;
    ScriptedDialogs boxes;
    GestionDonnee state;
    try {
        LoadMainWindow(state, store, boxes,
                       folderWithMailFile(dir, "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\n"));
        QFAIL("no error");
    } catch (const RuntimeError& e) {
        QCOMPARE(e.number(), 62);
    }
    QCOMPARE(state.WebSiteAddress, QStringLiteral("site"));
}

void TestStartup::closingQuestion_data() {
    QTest::addColumn<bool>("modified");
    QTest::addColumn<int>("answer"); // -1: no question expected
    QTest::addColumn<bool>("saved");
    QTest::newRow("unchanged: nothing asked") << false << -1 << false;
    QTest::newRow("yes saves") << true << int(MsgAnswer::Yes) << true;
    QTest::newRow("no") << true << int(MsgAnswer::No) << false;
    QTest::newRow("cancel still closes") << true << int(MsgAnswer::Cancel) << false;
}

void TestStartup::closingQuestion() {
    QFETCH(bool, modified);
    QFETCH(int, answer);
    QFETCH(bool, saved);
    GestionDonnee state;
    state.DataModified = modified;
    ScriptedDialogs boxes;
    if (answer >= 0)
        boxes.answerMessage(MsgAnswer(answer));
    bool saveRan = false;
    CloseMainWindow(state, boxes, [&] { saveRan = true; });
    QCOMPARE(saveRan, saved);
    QCOMPARE(boxes.unusedAnswers(), 0u);
    if (answer >= 0) {
        const RecordedBox& box = boxes.boxes().front();
        QCOMPARE(box.prompt, QStringLiteral("Voulez vous enregistrer les modifications ?"));
        QCOMPARE(box.title, QStringLiteral("Enregistrement"));
        QCOMPARE(box.icon, MsgIcon::Question);
        QCOMPARE(box.buttons, MsgButtons::YesNoCancel);
    }
}

void TestStartup::baseNameOf_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("base");
    QTest::newRow("two points") << "survey.2024.xyz"
                                << "survey";
    QTest::newRow("no point") << "survey"
                              << "";
    QTest::newRow("leading point") << ".hidden"
                                   << "";
}

void TestStartup::baseNameOf() {
    QFETCH(QString, title);
    QFETCH(QString, base);
    QCOMPARE(BaseNameOf(title), base);
}

TOVALIN_TEST(TestStartup)
#include "tst_Startup.moc"
