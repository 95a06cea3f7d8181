#include "TestRunner.h"

#include "app/CommandLine.h"

#include <QProcess>
#include <QTest>

// The program's --help and --version, answered without a display: no
// platform plugin, no DISPLAY, and nothing else printed.
class TestProgramOptions : public QObject {
    Q_OBJECT

private slots:
    void withoutDisplay_data();
    void withoutDisplay();
    void filesNamed_data();
    void filesNamed();
};

void TestProgramOptions::withoutDisplay_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("firstLine");
    const QString help =
        QStringLiteral("Tovalin : éditeur et convertisseur de fichiers de points topographiques.");
    QTest::newRow("version") << QStringList{"--version"} << "Tovalin " TOVALIN_VERSION_TEXT;
    QTest::newRow("help") << QStringList{"--help"} << help;
    QTest::newRow("help after a file") << QStringList{"points.xyz", "-h"} << help;
}

void TestProgramOptions::withoutDisplay() {
    QFETCH(QStringList, args);
    QFETCH(QString, firstLine);
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QString::fromLatin1(name));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TOVALIN_BINARY_DIR "/bin/tovalin"), args);
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()).section(u'\n', 0, 0), firstLine);
}

// What the started program does with its arguments, "|" between files:
// opened, then imported, or the usage error; "help" when the arguments are
// answered before any window.
void TestProgramOptions::filesNamed_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("files") << QStringList{"a.xyz", "b.dxf", "-"} << "a.xyz|b.dxf|- ; ";
    QTest::newRow("import") << QStringList{"a.xyz", "--import", "r.csv", "s.txt"}
                            << "a.xyz ; r.csv|s.txt";
    QTest::newRow("import alone") << QStringList{"--import"} << " ; ";
    QTest::newRow("-- ends options")
        << QStringList{"--", "-a.xyz", "--import", "--help"} << "-a.xyz|--import|--help ; ";
    QTest::newRow("import, then --") << QStringList{"--import", "--", "-r.csv"} << " ; -r.csv";
    QTest::newRow("unknown option") << QStringList{"a.xyz", "-a.xyz"} << "error -a.xyz";
    QTest::newRow("help") << QStringList{"a.xyz", "--help", "--", "b"} << "help";
}

void TestProgramOptions::filesNamed() {
    QFETCH(QStringList, args);
    QFETCH(QString, outcome);
    std::vector<QByteArray> bytes{"tovalin"};
    for (const QString& arg : args)
        bytes.push_back(arg.toUtf8());
    std::vector<const char*> argv;
    for (const QByteArray& arg : bytes)
        argv.push_back(arg.constData());
    std::FILE* out = std::tmpfile();
    const bool answered = AnswerWithoutWindow(int(argv.size()), argv.data(), out).has_value();
    std::fclose(out);
    const ProgramFiles files = ParseProgramArguments(args);
    QString got = answered
                      ? QStringLiteral("help")
                      : files.open.join(u'|') + QStringLiteral(" ; ") + files.import.join(u'|');
    if (!answered && !files.error.isEmpty()) {
        QVERIFY2(files.error.contains(QStringLiteral("option inconnue « %1 »").arg(args.last())),
                 qPrintable(files.error));
        got = QStringLiteral("error ") + args.last();
    }
    QCOMPARE(got, outcome);
}

TOVALIN_TEST(TestProgramOptions)
#include "tst_ProgramOptions.moc"
