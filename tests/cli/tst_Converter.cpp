#include "TestRunner.h"
#include "TestSupport.h"

#include "app/CommandContext.h"
#include "app/FileCommands.h"
#include "app/GestionDonnee.h"
#include "app/Startup.h"
#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QProcess>
#include <QTemporaryDir>

using namespace testing;
using namespace platform;

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs the real converter with its own settings folder and regional format.
Run runCli(const QStringList& args, const QString& configHome,
           const QString& locale = QStringLiteral("fr_FR.UTF-8")) {
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    env.insert(QStringLiteral("LC_ALL"), locale);
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TOVALIN_BINARY_DIR "/bin/tovalin-cli"), args);
    if (!process.waitForFinished(120000))
        qFatal("tovalin-cli did not finish");
    return Run{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
               process.readAllStandardOutput(), process.readAllStandardError()};
}

const QByteArray samplePoints = "1,652345.678,6862104.512,152.304\r\n"
                                "2,652351.902,6862110.047,152.611\r\n"
                                "B7,-0.5,12.3456,0\r\n"
                                "bad line\r\n";

// A settings store of the test's own, in memory.
class MemorySettings : public SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values_.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values_[section + u'/' + key] = value;
    }

private:
    QHash<QString, QString> values_;
};

} // namespace

class TestConverter : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void listShowsTheDisplayedList_data();
    void listShowsTheDisplayedList();
    void largeListMatchesTheWindow_data();
    void largeListMatchesTheWindow();
    void usageErrors_data();
    void usageErrors();
    void readErrorWritesNothing();
    void settingsFileIsReadNeverWritten();
    void convertMatchesTheSaveCommand_data();
    void convertMatchesTheSaveCommand();
    void dxfReadByIndependentReader();

private:
    QTemporaryDir dir_;
    QString input_;
};

void TestConverter::initTestCase() {
    input_ = dir_.filePath(QStringLiteral("points.xyz"));
    writeBytes(input_, samplePoints);
}

void TestConverter::listShowsTheDisplayedList_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("French") << "fr_FR.UTF-8" << QStringList{}
                            << QByteArray("1\t652345,678\t6862104,512\t152,304\n"
                                          "2\t652351,902\t6862110,047\t152,611\n"
                                          "B7\t-0,500\t12,346\t0,000\n");
    QTest::newRow("English with grouping")
        << "en_US.UTF-8" << QStringList{"--set", "SepSys=1", "--set", "NbDec=0.0"}
        << QByteArray("1\t652,345.7\t6,862,104.5\t152.3\n"
                      "2\t652,351.9\t6,862,110.0\t152.6\n"
                      "B7\t-0.5\t12.3\t0.0\n");
    // The same file read twice, as when the user adds it again.
    QTest::newRow("numbering on, file twice")
        << "fr_FR.UTF-8" << QStringList{"--set", "Inc_Num=1",        "--set", "Num_Premier_Pt=5",
                                        "--set", "Separateur_Lec=;", "--set", "NbDec=0"}
        << QByteArray();
}

void TestConverter::listShowsTheDisplayedList() {
    QFETCH(QString, locale);
    QFETCH(QStringList, args);
    QFETCH(QByteArray, expected);
    QTemporaryDir config;
    QString input = input_;
    QStringList inputs{input};
    if (expected.isEmpty()) {
        input = dir_.filePath(QStringLiteral("numbered.txt"));
        writeBytes(input, "1;2;3\r\n4;5\r\n");
        inputs = QStringList{input, input};
        expected = "5\t1\t2\t3\n5\t4\t5\t0\n6\t1\t2\t3\n7\t4\t5\t0\n";
    }
    const Run run = runCli(QStringList{"list"} + args + inputs, config.path(), locale);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, expected);
}

void TestConverter::largeListMatchesTheWindow_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QStringList>("sets");
    QTest::newRow("French") << "fr_FR.UTF-8" << QStringList{};
    QTest::newRow("English, grouped, one decimal")
        << "en_US.UTF-8" << QStringList{"SepSys=1", "NbDec=0.0"};
    QTest::newRow("numbered") << "fr_FR.UTF-8" << QStringList{"Inc_Num=1", "Num_Premier_Pt=7"};
}

// Many more rows than the converter makes at a time, some of them odd (a tab
// in the identifier moves the cells along, a bad line), against the list the
// window shows after the open command.
void TestConverter::largeListMatchesTheWindow() {
    QFETCH(QString, locale);
    QFETCH(QStringList, sets);
    const QString input = dir_.filePath(QStringLiteral("large.xyz"));
    QByteArray file;
    for (int i = 0; i < 150000; ++i) {
        if (i % 997 == 0)
            file += "P\t" + QByteArray::number(i) + ",1.5,2\r\n";
        else if (i % 1009 == 0)
            file += "bad line\r\n";
        else
            file += QByteArray::number(i) + ',' + QByteArray::number(600000 + i * 0.731, 'f', 3) +
                    ',' + QByteArray::number(6800000 - i * 1.37, 'f', 3) + ",-" +
                    QByteArray::number(i % 2000) + ".5\r\n";
    }
    writeBytes(input, file);

    QTemporaryDir config;
    QStringList args{"list", input};
    for (const QString& set : sets)
        args << QStringLiteral("--set") << set;
    const Run run = runCli(args, config.path(), locale);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.exitCode, 0);

    RegionalFormatScope scope(QLocale(locale.section(u'.', 0, 0)));
    MemorySettings settings;
    for (const QString& set : sets) {
        const QString key = set.section(u'=', 0, 0);
        settings.setValue(key == u"Inc_Num" || key == u"Num_Premier_Pt" ? sections::parametre()
                                                                        : sections::app(),
                          key, set.section(u'=', 1));
    }
    GestionDonnee state;
    LoadSettings(state.Settings, settings);
    ScriptedDialogs boxes;
    ScriptedFileDialog files;
    NoWindowSurface window;
    NoProgress progress;
    CommandContext context{state, boxes, boxes, files, settings, window, progress};
    files.choose(input, 1);
    OpenCommand(context);
    QVERIFY(state.Grid.rows() > 140000);
    std::string shown;
    for (int row = 1; row < state.Grid.rows(); ++row) {
        state.Grid.appendRowUtf8(row, 4, '\t', shown);
        shown += '\n';
    }
    QCOMPARE(run.out.size(), qsizetype(shown.size()));
    QVERIFY(run.out == QByteArrayView(shown));
}

void TestConverter::usageErrors_data() {
    QTest::addColumn<QStringList>("args");
    QTest::newRow("no command") << QStringList{};
    QTest::newRow("unknown command") << QStringList{"show", "a.xyz"};
    QTest::newRow("unknown option") << QStringList{"list", "--fast", "a.xyz"};
    QTest::newRow("no input") << QStringList{"list"};
    QTest::newRow("convert without output") << QStringList{"convert", "a.xyz"};
    QTest::newRow("unknown format") << QStringList{"list", "--from", "csv", "a.xyz"};
    QTest::newRow("unknown setting") << QStringList{"list", "--set", "Couleur=1", "a.xyz"};
    QTest::newRow("set without equals") << QStringList{"list", "--set", "Inc_Num", "a.xyz"};
}

void TestConverter::usageErrors() {
    QFETCH(QStringList, args);
    QTemporaryDir config;
    const Run run = runCli(args, config.path());
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains("usage: tovalin-cli"), run.err.constData());
    QCOMPARE(run.out, QByteArray());

    const Run help = runCli({"--help"}, config.path());
    QCOMPARE(help.exitCode, 0);
    QVERIFY(help.out.contains("--set CLE=VALEUR"));
}

void TestConverter::readErrorWritesNothing() {
    QTemporaryDir config;
    const QString output = dir_.filePath(QStringLiteral("never.dxf"));
    const Run run =
        runCli({"convert", input_, dir_.filePath(QStringLiteral("missing.xyz")), "-o", output},
               config.path());
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.err),
             QStringLiteral("Erreur d'exécution '53' :\n\nFichier introuvable\n"));
    QVERIFY(!QFile::exists(output));
}

void TestConverter::settingsFileIsReadNeverWritten() {
    QTemporaryDir config;
    const QString ini = config.filePath(QStringLiteral("Tovalin/Tovalin.ini"));
    const QByteArray content = "[Param\xc3\xa8tre]\nSeparateur_Lec=;\n[App]\nNbDec=0.0\n";
    writeBytes(ini, content);
    const QString input = dir_.filePath(QStringLiteral("semicolons.xyz"));
    writeBytes(input, "P;1,25;2;3\r\n");
    const Run run = runCli({"list", input}, config.path());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QByteArray("P\t1,3\t2,0\t3,0\n"));
    QCOMPARE(readBytes(ini), content);
}

void TestConverter::convertMatchesTheSaveCommand_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<int>("filterIndex");
    QTest::addColumn<QStringList>("sets"); // KEY=VALUE
    QTest::newRow("XYZ, French") << "fr_FR.UTF-8" << 1 << QStringList{"Separateur_Ecr=;"};
    QTest::newRow("XYZ, English, unformatted")
        << "en_US.UTF-8" << 1 << QStringList{"ExtCfg=1", "Separateur_Autre_Ecr=|"};
    QTest::newRow("DXF 3D, French")
        << "fr_FR.UTF-8" << 2 << QStringList{"Fich_Dim=3D", "Calque_Point=PTS"};
    QTest::newRow("DXF 2D, English") << "en_US.UTF-8" << 2 << QStringList{"Calque_Z="};
}

void TestConverter::convertMatchesTheSaveCommand() {
    QFETCH(QString, locale);
    QFETCH(int, filterIndex);
    QFETCH(QStringList, sets);
    const QString extension = filterIndex == 1 ? QStringLiteral(".xyz") : QStringLiteral(".dxf");

    // The converter...
    QTemporaryDir config;
    const QString cliOutput = dir_.filePath(QStringLiteral("cli") + extension);
    QStringList args{"convert", input_, input_, "-o", cliOutput, "--height", "2.5"};
    for (const QString& set : sets)
        args << QStringLiteral("--set") << set;
    const Run run = runCli(args, config.path(), locale);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.exitCode, 0);

    // ...and the program's open and save commands, with the same settings.
    RegionalFormatScope scope(QLocale(locale.section(u'.', 0, 0)));
    MemorySettings settings;
    for (const QString& set : sets) {
        const QString key = set.section(u'=', 0, 0);
        const QString section = QStringList{"NbDec", "SepSys", "ExtCfg"}.contains(key)
                                    ? sections::app()
                                    : sections::parametre();
        settings.setValue(section, key, set.section(u'=', 1));
    }
    GestionDonnee state;
    LoadSettings(state.Settings, settings);
    ScriptedDialogs boxes;
    ScriptedFileDialog files;
    NoWindowSurface window;
    NoProgress progress;
    CommandContext context{state, boxes, boxes, files, settings, window, progress};
    const QString saved = dir_.filePath(QStringLiteral("saved") + extension);
    files.choose(input_, 1);
    OpenCommand(context);
    boxes.answerMessage(MsgAnswer::Yes);
    files.choose(input_, 1);
    OpenCommand(context);
    files.choose(saved, filterIndex);
    if (filterIndex == 2)
        boxes.answerInput(QStringLiteral("2.5"));
    SaveCommand(context);

    QVERIFY(!readBytes(saved).isEmpty());
    QCOMPARE(readBytes(cliOutput), readBytes(saved));
}

void TestConverter::dxfReadByIndependentReader() {
    QTemporaryDir config;
    const QString output = dir_.filePath(QStringLiteral("ezdxf.dxf"));
    const Run run =
        runCli({"convert", input_, "-o", output, "--set", "Fich_Dim=3D", "--set",
                "Calque_Point=PTS", "--set", "Calque_Matricule=MAT", "--set", "Calque_Z=ALT"},
               config.path(), QStringLiteral("en_US.UTF-8"));
    QCOMPARE(run.exitCode, 0);

    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"),
                 {QStringLiteral(TOVALIN_TEST_DATA "/../cli/check_dxf.py"), output});
    QVERIFY(python.waitForFinished(60000));
    const QByteArray pythonErrors = python.readAllStandardError();
    QVERIFY2(python.exitCode() == 0, pythonErrors.constData());
    const QStringList entities =
        QString::fromUtf8(python.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    // One POINT and two TEXTs per point; texts at elevation 0, the
    // identifier text on the point's own Y, 0.75 to the right.
    QCOMPARE(entities, (QStringList{
                           "POINT PTS 652345.678 6862104.512 152.304",
                           "TEXT MAT 652346.428 6862104.512 0.000 1",
                           "TEXT ALT 652346.428 6862102.762 0.000 152.304",
                           "POINT PTS 652351.902 6862110.047 152.611",
                           "TEXT MAT 652352.652 6862110.047 0.000 2",
                           "TEXT ALT 652352.652 6862108.297 0.000 152.611",
                           "POINT PTS -0.500 12.346 0.000",
                           "TEXT MAT 0.250 12.346 0.000 B7",
                           "TEXT ALT 0.250 10.596 0.000 0.000",
                       }));
}

TOVALIN_TEST(TestConverter)
#include "tst_Converter.moc"
