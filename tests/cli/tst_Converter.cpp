#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "import/Importer.h"
#include "state/Startup.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace testing;
using namespace platform;

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

void startCli(QProcess& process, const QStringList& args, const QString& configHome,
              const QString& locale, const QString& workDir) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    env.insert(QStringLiteral("LC_ALL"), locale);
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(workDir);
    process.start(QStringLiteral(TOVALIN_BINARY_DIR "/bin/tovalin-cli"), args);
}

// Runs the real converter with its own settings folder and regional format;
// one still running after the time given is killed (exit code -2).
Run runCli(const QStringList& args, const QString& configHome,
           const QString& locale = QStringLiteral("fr_FR.UTF-8"),
           const QString& workDir = QDir::currentPath(), int timeoutMs = 120000) {
    QProcess process;
    startCli(process, args, configHome, locale, workDir);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return Run{-2, process.readAllStandardOutput(), process.readAllStandardError()};
    }
    return Run{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
               process.readAllStandardOutput(), process.readAllStandardError()};
}

// Writes bytes into a named pipe once a reader opens it, giving up after a
// while (a reader that never comes).
void feedPipe(const QString& path, const QByteArray& bytes) {
    const QByteArray name = QFile::encodeName(path);
    QElapsedTimer waited;
    waited.start();
    int fd = -1;
    while ((fd = ::open(name.constData(), O_WRONLY | O_NONBLOCK)) < 0 && waited.elapsed() < 20000)
        QThread::msleep(10);
    if (fd < 0)
        return;
    ::fcntl(fd, F_SETFL, 0);
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.constData() + done, std::size_t(bytes.size() - done));
        if (n <= 0)
            break;
        done += n;
    }
    ::close(fd);
}

// Runs "tovalin-cli list input" (a CSV file through the importer) and gives
// the peak of its resident memory in bytes (the process's own, through
// wait4), or -1.
qint64 peakMemoryOfList(const QString& input, const QString& configHome) {
    const QByteArray program = TOVALIN_BINARY_DIR "/bin/tovalin-cli";
    const QByteArray file = QFile::encodeName(input);
    const QByteArray config = "XDG_CONFIG_HOME=" + QFile::encodeName(configHome);
    std::vector<const char*> args{program.constData(), "list"};
    if (file.endsWith(".csv"))
        args.insert(args.end(), {"--from", "csv"});
    args.insert(args.end(), {file.constData(), nullptr});
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 1);
        ::dup2(null, 2);
        const char* env[] = {config.constData(), "LC_ALL=fr_FR.UTF-8", nullptr};
        ::execve(program.constData(), const_cast<char**>(args.data()), const_cast<char**>(env));
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage {};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) == 127)
        return -1;
    return qint64(usage.ru_maxrss) * 1024;
}

// The temporary files the converter leaves beside its output, if any.
QStringList temporaries(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral(".tovalin-cli-*")}, QDir::Files | QDir::Hidden);
}

// The converter's arguments, each KEY=VALUE of sets as a --set option.
QStringList withSets(QStringList args, const QStringList& sets) {
    for (const QString& set : sets)
        args << QStringLiteral("--set") << set;
    return args;
}

// The program itself under the regional format and settings the converter
// runs with, after its open command on each input in turn (a second file is
// added to the list).
struct Program : CommandFixture {
    Program(const QString& locale, const QStringList& sets, const QStringList& inputs)
        : scope(QLocale(locale.section(u'.', 0, 0))) {
        for (const QString& set : sets) {
            const QString key = set.section(u'=', 0, 0);
            const bool app = QStringList{"NbDec", "SepSys", "ExtCfg"}.contains(key);
            settings.setValue(app ? sections::app() : sections::parametre(), key,
                              set.section(u'=', 1));
        }
        LoadSettings(state.Settings, settings);
        for (qsizetype i = 0; i < inputs.size(); ++i) {
            if (i > 0)
                boxes.answerMessage(MsgAnswer::Yes);
            files.choose(inputs[i], 1);
            OpenCommand(context);
        }
    }

    RegionalFormatScope scope;
};

const QByteArray samplePoints = "1,652345.678,6862104.512,152.304\r\n"
                                "2,652351.902,6862110.047,152.611\r\n"
                                "B7,-0.5,12.3456,0\r\n"
                                "bad line\r\n";

// A sample of tests/data/import through the importer: the list on standard
// output and the report on standard error ("F" stands for the sample's name).
struct Import {
    QStringList args; // the last one is the sample
    QString out;
    QString err;
};

QString importSample(const QString& name) {
    return QStringLiteral(TOVALIN_TEST_DATA "/import/") + name;
}

struct Exit {
    QStringList args;
    int status;
    QString message; // on standard error, or in the help
};

// The converter against the program: the list of the large file (filter 0),
// or the file saved with the filter of that index from the sample. The
// writers are the program's own, and an XYZ file holds at most 32,767 points.
struct Agreement {
    const char* locale;
    int filterIndex;
    QStringList sets; // KEY=VALUE
    int times;        // the input given that many times
};

} // namespace
Q_DECLARE_METATYPE(Exit)
Q_DECLARE_METATYPE(Agreement)
Q_DECLARE_METATYPE(Import)

class TestConverter : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void exitStatus_data();
    void exitStatus();
    void settingsFileIsReadNeverWritten();
    void agreesWithTheProgram_data();
    void agreesWithTheProgram();
    void dxfReadByIndependentReader();
    void outputNeverLost_data();
    void outputNeverLost();
    void droppedLines_data();
    void droppedLines();
    void imported_data();
    void imported();
    void everySampleAsTheOpenPathReads();
    void outputWherever_data();
    void outputWherever();
    void noTemporaryLeftOnSignal_data();
    void noTemporaryLeftOnSignal();
    void memoryBoundedByTheInput_data();
    void memoryBoundedByTheInput();

private:
    QTemporaryDir dir_;
    QTemporaryDir config_; // no settings file
    QString input_;
    QString large_;
    int largePoints_ = 0;
};

void TestConverter::initTestCase() {
    input_ = dir_.filePath(QStringLiteral("points.xyz"));
    writeBytes(input_, samplePoints);
    writeBytes(dir_.filePath(QStringLiteral("-a.xyz")),
               QByteArray(samplePoints).replace("bad line\r\n", ""));

    // Many more rows than the converter makes at a time, some of them odd: a
    // tab in the identifier moves the cells along, a bad line.
    large_ = dir_.filePath(QStringLiteral("large.xyz"));
    QByteArray file;
    for (int i = 0; i < 150000; ++i) {
        if (i % 997 == 0) {
            file += "P\t" + QByteArray::number(i) + ",1.5,2\r\n";
        } else if (i % 1009 == 0) {
            file += "bad line\r\n";
            continue;
        } else {
            file += QByteArray::number(i) + ',' + QByteArray::number(600000 + i * 0.731, 'f', 3) +
                    ',' + QByteArray::number(6800000 - i * 1.37, 'f', 3) + ",-" +
                    QByteArray::number(i % 2000) + ".5\r\n";
        }
        ++largePoints_;
    }
    writeBytes(large_, file);
}

void TestConverter::exitStatus_data() {
    Rows<Exit> row;
    row("no command", {{}, 2, "commande manquante"});
    row("unknown command", {{"show", "a.xyz"}, 2, "commande inconnue : show"});
    row("unknown option", {{"list", "--fast", "a.xyz"}, 2, "option inconnue : --fast"});
    row("no input", {{"list"}, 2, "aucun fichier d'entrée"});
    row("option without value", {{"list", "a.xyz", "--height"}, 2, "--height sans valeur"});
    row("convert without output", {{"convert", "a.xyz"}, 2, "convert demande -o SORTIE"});
    row("list with output", {{"list", "a.xyz", "-o", "b.xyz"}, 2, "list n'écrit pas de fichier"});
    row("unknown format", {{"list", "--from", "ods", "a.xyz"}, 2, "format inconnu : ods"});
    row("no output as csv",
        {{"convert", "a.xyz", "--to", "csv", "-o", "b"}, 2, "format de sortie inconnu : csv"});
    row("unknown role",
        {{"list", "--from", "csv", "--columns", "id,x,q", "a.csv"},
         2,
         "--columns attend les rôles id, x, y, z ou - séparés par des virgules, x et y une fois "
         "chacun : id,x,q"});
    row("role twice",
        {{"list", "--from", "csv", "--columns", "x,y,x", "a.csv"},
         2,
         "--columns attend les rôles id, x, y, z ou - séparés par des virgules, x et y une fois "
         "chacun : x,y,x"});
    row("columns without csv",
        {{"list", "--columns", "id,x,y", "a.xyz"},
         2,
         "--columns, --skip, --separator et --decimal vont avec --from csv"});
    row("negative skip", {{"list", "--from", "csv", "--skip", "-1", "a.csv"},
                          2,
                          "--skip attend un nombre de lignes : -1"});
    row("bad separator", {{"list", "--from", "csv", "--separator", ":", "a.csv"},
                          2,
                          "--separator attend , ; | tab ou espace : :"});
    row("bad decimal",
        {{"list", "--from", "csv", "--decimal", "'", "a.csv"}, 2, "--decimal attend , ou . : '"});
    // An import that reads nothing fails, and writes nothing.
    row("drawing without POINT", {{"convert", "--from", "dxf-points", importSample("no-point.dxf"),
                                   "-o", dir_.filePath("never.dxf")},
                                  1,
                                  "« no-point.dxf » : 0 points lus (aucune entité POINT)\n"});
    row("nothing after the lines skipped",
        {{"convert", "--from", "csv", "--skip", "10", input_, "-o", dir_.filePath("never.dxf")},
         1,
         "0 points lus\n"});
    row("unknown setting",
        {{"list", "--set", "Couleur=1", "a.xyz"}, 2, "réglage inconnu : Couleur"});
    row("set without equals",
        {{"list", "--set", "Inc_Num", "a.xyz"}, 2, "--set attend CLE=VALEUR : Inc_Num"});
    row("help", {{"list", "--help"}, 0, "--set CLE=VALEUR"});
    row("version", {{"--version"}, 0, "tovalin-cli (Tovalin) " TOVALIN_VERSION_TEXT "\n"});
    // After "--" a name like an option is a file.
    row("-- ends the options", {{"list", "--", "-a.xyz"}, 0, "B7\t-0,500\t12,346\t0,000\n"});
    row("help after --", {{"list", "--", "--help"}, 1, "Fichier introuvable\n"});
    row("option after --", {{"list", "--", "-o", "b.xyz"}, 1, "Fichier introuvable\n"});
    // A file that cannot be read: the report, and no output at all.
    row("read error",
        {{"convert", input_, dir_.filePath("missing.xyz"), "-o", dir_.filePath("never.dxf")},
         1,
         "Erreur d'exécution '53' :\n\nFichier introuvable\n"});
}

// 2 for a usage error, 1 for a run-time error, with the message on standard
// error and nothing written; 0 for the help.
void TestConverter::exitStatus() {
    QFETCH(Exit, c);
    const Run run = runCli(c.args, config_.path(), QStringLiteral("fr_FR.UTF-8"), dir_.path());
    QCOMPARE(run.exitCode, c.status);
    const QString err = QString::fromUtf8(run.err);
    if (c.status == 0) {
        QCOMPARE(err, QString());
        QVERIFY(QString::fromUtf8(run.out).contains(c.message));
        return;
    }
    QCOMPARE(run.out, QByteArray());
    QVERIFY(!QFile::exists(dir_.filePath(QStringLiteral("never.dxf"))));
    if (c.status == 1) {
        QVERIFY2(err.endsWith(c.message), run.err.constData());
    } else {
        QVERIFY2(err.startsWith(QStringLiteral("tovalin-cli : ") + c.message + u'\n'),
                 run.err.constData());
        QVERIFY2(err.contains(QStringLiteral(
                     "\nusage : tovalin-cli list|convert [--from xyz|dxf] [--to xyz|dxf] "
                     "[--set CLE=VALEUR]... [--height TEXTE] ENTREE... [-o SORTIE]\n")),
                 run.err.constData());
    }
}

// The converter never destroys an input nor leaves a partial output: an
// output that is an input is refused before anything is read, and a failed
// write leaves the target as it was, with no temporary file beside it.
void TestConverter::outputNeverLost_data() {
    QTest::addColumn<QString>("input");    // "sample", "large" (too many points for XYZ), "none"
    QTest::addColumn<QString>("output");   // how the output names the file
    QTest::addColumn<QStringList>("more"); // further arguments
    QTest::addColumn<QByteArray>("old");   // the target before the run; null: absent
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    const QString same = QStringLiteral("est le fichier d'entrée");
    const QString limit = QStringLiteral("un fichier XYZ s'écrit avec 32 768 points au plus");
    const QString zero = QStringLiteral("hauteur de texte nulle");
    const QString none = QStringLiteral("aucun point lu");
    const QByteArray oldFile("old\r\n");
    QTest::newRow("same name") << "sample"
                               << "in.xyz" << QStringList() << QByteArray() << 2 << same;
    QTest::newRow("same through ./") << "sample"
                                     << "./in.xyz" << QStringList() << QByteArray() << 2 << same;
    QTest::newRow("same through a link")
        << "sample"
        << "link.xyz" << QStringList() << QByteArray() << 2 << same;
    QTest::newRow("same as a hard link")
        << "sample"
        << "hard.xyz" << QStringList() << QByteArray() << 2 << same;
    QTest::newRow("failed write, old target")
        << "large"
        << "out.xyz" << QStringList() << oldFile << 1 << limit;
    QTest::newRow("failed write, no target")
        << "large"
        << "out.xyz" << QStringList() << QByteArray() << 1 << limit;
    QTest::newRow("good write replaces") << "sample"
                                         << "out.xyz" << QStringList() << oldFile << 0 << QString();
    // A height of 0 stops the DXF writer before any file is touched.
    for (const char* height : {"0", "0,0", "0.0"}) {
        QTest::addRow("height %s, old target", height)
            << "sample"
            << "out.dxf" << QStringList{"--height", height} << oldFile << 1 << zero;
        QTest::addRow("height %s, no target", height)
            << "sample"
            << "out.dxf" << QStringList{"--height", height} << QByteArray() << 1 << zero;
    }
    // No point read: nothing written, told before the height is looked at.
    QTest::newRow("no point, old target") << "none"
                                          << "out.xyz" << QStringList() << oldFile << 1 << none;
    QTest::newRow("no point, no target") << "none"
                                         << "out.dxf" << QStringList() << QByteArray() << 1 << none;
    QTest::newRow("no point, bad height")
        << "none"
        << "out.dxf" << QStringList{"--height", "x"} << oldFile << 1 << none;
}

void TestConverter::outputNeverLost() {
    QFETCH(QString, input);
    QFETCH(QString, output);
    QFETCH(QStringList, more);
    QFETCH(QByteArray, old);
    QFETCH(int, status);
    QFETCH(QString, message);
    QTemporaryDir work;
    const QString in = work.filePath(QStringLiteral("in.xyz"));
    const QByteArray original = input == u"none"    ? QByteArray("bad line\r\n")
                                : input == u"large" ? readBytes(large_)
                                                    : readBytes(input_);
    writeBytes(in, original);
    QVERIFY(QFile::link(in, work.filePath(QStringLiteral("link.xyz"))));
    QVERIFY(::link(QFile::encodeName(in).constData(),
                   QFile::encodeName(work.filePath(QStringLiteral("hard.xyz"))).constData()) == 0);
    const QString target = work.path() + u'/' + output;
    if (!old.isNull())
        writeBytes(target, old);
    const QStringList before = QDir(work.path()).entryList(QDir::Files | QDir::Hidden);

    const Run run = runCli(QStringList{"convert", in, "-o", target} + more, config_.path());
    QCOMPARE(run.exitCode, status);
    QCOMPARE(readBytes(in), original);
    if (input == u"none")
        QVERIFY2(run.err.contains("n'a donné aucun point"), run.err.constData());
    if (status == 0) {
        QVERIFY(readBytes(target).startsWith("1,"));
    } else {
        QVERIFY2(QString::fromUtf8(run.err).contains(message), run.err.constData());
        if (output.startsWith(u"out."))
            QCOMPARE(QFile::exists(target) ? readBytes(target) : QByteArray(), old);
    }
    QCOMPARE(QDir(work.path()).entryList(QDir::Files | QDir::Hidden),
             status == 0 && old.isNull() ? before + QStringList{output} : before);
}

// What an input left out, on standard error, the status unchanged.
void TestConverter::droppedLines_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("report"); // empty: nothing to report
    QTest::addColumn<bool>("pipe");      // the input a named pipe, read once
    QTest::newRow("all good") << QByteArray("1,2,3\r\n4,5,6") << QString() << false;
    QTest::newRow("through a pipe") << QByteArray("x\r1,2,3\r\n4,5,6")
                                    << "« in.xyz » : 1 ligne sans point, laissée de côté" << true;
    QTest::newRow("one bad line") << QByteArray("x\r\n1,2,3\r\n")
                                  << "« in.xyz » : 1 ligne sans point, laissée de côté" << false;
    QTest::newRow("lone CR and a last line")
        << QByteArray("x\r1,2,3\ry\r\nz") << "« in.xyz » : 3 lignes sans point, laissées de côté"
        << false;
    QTest::newRow("empty") << QByteArray("") << "« in.xyz » n'a donné aucun point" << false;
    QTest::newRow("a drawing: nothing to report")
        << QByteArray("0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n10\r\n1\r\n"
                      "20\r\n2\r\n30\r\n3\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n")
        << QString() << false;
    QTest::newRow("wrong separator")
        << QByteArray("1;2;3\r\n4;5;6\r\n") << "« in.xyz » n'a donné aucun point" << false;
    // Files that other programs write, which the importer reads.
    QTest::newRow("LF line ends")
        << QByteArray("1,2,3\n4,5,6\n")
        << "« in.xyz » : il ressemble à un relevé d'un autre programme (lignes terminées par LF "
           "seul) : essayer --from csv"
        << false;
    QTest::newRow("header and code column")
        << QByteArray("Point;Est;Nord;Alt;Code\r\n1;2;3;4;CP\r\n")
        << "« in.xyz » : il ressemble à un relevé d'un autre programme (ligne d'en-tête, plus "
           "de quatre colonnes) : essayer --from csv"
        << false;
}

void TestConverter::droppedLines() {
    QFETCH(QByteArray, file);
    QFETCH(QString, report);
    QFETCH(bool, pipe);
    QTemporaryDir work;
    const QString in = work.filePath(QStringLiteral("in.xyz"));
    std::thread feeder;
    if (pipe) {
        QCOMPARE(::mkfifo(QFile::encodeName(in).constData(), 0600), 0);
        feeder = std::thread([&] { feedPipe(in, file); });
    } else {
        writeBytes(in, file);
    }
    // A drawing's many lines are no points to report: only XYZ lines are counted.
    const QStringList arguments = file.startsWith("0\r\nSECTION")
                                      ? QStringList{"list", "--from", "dxf", in}
                                      : QStringList{"list", in};
    const Run run = runCli(arguments, config_.path(), QStringLiteral("fr_FR.UTF-8"),
                           QDir::currentPath(), 20000);
    if (feeder.joinable())
        feeder.join();
    QCOMPARE(run.exitCode, 0);
    const QString err = QString::fromUtf8(run.err);
    if (report.isEmpty())
        QCOMPARE(err, QString());
    else
        QVERIFY2(err.startsWith(QStringLiteral("tovalin-cli : ")) && err.contains(report),
                 run.err.constData());
}

void TestConverter::imported_data() {
    Rows<Import> row;
    const QString pnezd = QStringLiteral("« pnezd-code.csv » : encodage UTF-8, séparateur virgule, "
                                         "décimale point, sans en-tête, ");
    row("PNEZD", {{"list", "--from", "csv", "pnezd-code.csv"},
                  "1\t1000,000\t2000,000\t100,000\n2\t1010,250\t2005,125\t101,500\n"
                  "3\t1020,500\t2010,750\t99,875\n",
                  pnezd + "colonnes id,x,y,z,- ; 3 points lus"});
    row("columns and separator given",
        {{"list", "--from", "csv", "--columns", "id,y,x", "--separator", ",", "--decimal", ".",
          "pnezd-code.csv"},
         "1\t2000,000\t1000,000\t0,000\n2\t2005,125\t1010,250\t0,000\n"
         "3\t2010,750\t1020,500\t0,000\n",
         pnezd + "colonnes id,y,x ; 3 points lus"});
    row("lines skipped",
        {{"list", "--from", "csv", "--skip", "2", "header-codigo.csv"},
         "P2\t350130,001\t4650130,002\t513,040\n",
         "« header-codigo.csv » : encodage UTF-8, séparateur virgule, décimale point, 1 ligne "
         "d'en-tête (2 lignes sautées), colonnes id,x,y,z,-,- ; 1 point lu"});
    row("rows left aside",
        {{"list", "--from", "csv", "bad-rows.csv"},
         "1\t1000,000\t2000,000\t100,000\n5\t1004,000\t2004,000\t0,000\n"
         "7\t1006,000\t2006,000\t106,000\n",
         "« bad-rows.csv » : encodage UTF-8, séparateur virgule, décimale point, 1 ligne "
         "d'en-tête, "
         "colonnes id,x,y,z,- ; 3 points lus, 6 lignes laissées de côté & "
         "« bad-rows.csv » : ligne 3 : X manquant & "
         "« bad-rows.csv » : ligne 4 : Y n'est pas un nombre : « abc » & "
         "« bad-rows.csv » : ligne 5 : trop peu de colonnes (2 au lieu d'au moins 3) & "
         "« bad-rows.csv » : ligne 8 : Z n'est pas un nombre : « 12x » & "
         "« bad-rows.csv » : ligne 10 : X n'est pas un nombre : « inf » & "
         "« bad-rows.csv » : ligne 11 : Y n'est pas un nombre : « 2 010,5 »"});
    QString many = QStringLiteral("« many-bad-rows.csv » : encodage UTF-8, séparateur virgule, "
                                  "décimale point, 1 ligne d'en-tête, colonnes id,x,y,z ; 13 "
                                  "points lus, 14 lignes laissées de côté");
    for (int line = 2; line <= 20; line += 2)
        many += QStringLiteral(" & « many-bad-rows.csv » : ligne %1 : X n'est pas un nombre : "
                               "« abc »")
                    .arg(line);
    row("the first ten rows, then a count",
        {{"list", "--from", "csv", "many-bad-rows.csv"},
         {},
         many + " & « many-bad-rows.csv » : et 4 autres lignes laissées de côté"});
    row("POINTs of a drawing",
        {{"list", "--from", "dxf-points", "--set", "Num_Pt_Dxf=7", "r12-crlf.dxf"},
         "7\t652100,125\t6862300,500\t35,750\n8\t652110,250\t6862310,125\t36,500\n"
         "9\t-12,500\t0,000\t0,000\n",
         "« r12-crlf.dxf » : 3 points lus"});
}

// Through the converter: the points and, on standard error, the layout, the
// count and the rows left aside.
void TestConverter::imported() {
    QFETCH(Import, c);
    c.args.last() = importSample(c.args.last());
    const Run run = runCli(c.args, config_.path());
    QCOMPARE(run.exitCode, 0);
    if (!c.out.isNull())
        QCOMPARE(QString::fromUtf8(run.out), c.out);
    QStringList told;
    for (const QString& line : items(c.err))
        told << QStringLiteral("tovalin-cli : ") + line;
    QCOMPARE(QString::fromUtf8(run.err).split(u'\n', Qt::SkipEmptyParts), told);
}

// Every sample, converted to DXF from the importer, holds the points the
// open path reads from it, as the DXF writer writes them.
void TestConverter::everySampleAsTheOpenPathReads() {
    const QStringList samples =
        QDir(importSample(QString())).entryList({"*.csv", "*.txt", "*.dxf"}, QDir::Files);
    QVERIFY(samples.size() >= 18);
    for (const QString& sample : samples) {
        const bool drawing = sample.endsWith(QStringLiteral(".dxf"));
        if (sample == u"no-point.dxf")
            continue;
        const QString output = dir_.filePath(sample + QStringLiteral(".out.dxf"));
        const Run run = runCli({"convert", "--from", drawing ? "dxf-points" : "csv",
                                importSample(sample), "-o", output},
                               config_.path());
        QVERIFY2(run.exitCode == 0, run.err.constData());

        Program program(QStringLiteral("fr_FR.UTF-8"), {}, {});
        OpenFile(program.context, importSample(sample), sample,
                 drawing ? FileFormat::DxfPoints : FileFormat::Csv);
        const QString saved = dir_.filePath(sample + QStringLiteral(".saved.dxf"));
        program.files.choose(saved, 2);
        program.boxes.answerInput(QStringLiteral("1"));
        SaveCommand(program.context);
        QVERIFY2(program.state.PointCount > 0, qPrintable(sample));
        QVERIFY2(readBytes(output) == readBytes(saved), qPrintable(sample));
    }
}

// The output wherever it stands: the file a link points to is replaced and the
// link kept; a write-protected file is refused as the program's save refuses
// it (by its mode: the tests may run as root); a device or a pipe is written
// into, never replaced.
void TestConverter::outputWherever_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("status");
    QTest::newRow("link to a file") << "link" << 0;
    QTest::newRow("link to a link to a new file") << "dangling" << 0;
    QTest::newRow("write-protected file") << "protected" << 1;
    QTest::newRow("link to a write-protected file") << "link protected" << 1;
    // The test's own device node and link into /proc, so that a converter
    // that replaced them would not replace the system's /dev/null.
    QTest::newRow("device like /dev/null") << "null" << 0;
    QTest::newRow("link into /proc like /dev/stdout") << "stdout" << 0;
    QTest::newRow("named pipe") << "pipe" << 0;
}

void TestConverter::outputWherever() {
    QFETCH(QString, kind);
    QFETCH(int, status);
    QTemporaryDir work;
    const QString real = work.filePath(QStringLiteral("data/real.xyz"));
    QVERIFY(QDir(work.path()).mkpath(QStringLiteral("data")));
    const QString link = work.filePath(QStringLiteral("link.xyz"));
    const QByteArray old("old\r\n");
    QString output = link;
    int pipe = -1;
    if (kind == u"link" || kind.endsWith(u"protected")) {
        writeBytes(real, old);
        QVERIFY(QFile::link(QStringLiteral("data/real.xyz"), link));
        if (kind == u"protected")
            output = real;
        if (kind.endsWith(u"protected"))
            QVERIFY(QFile::setPermissions(real,
                                          QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    } else if (kind == u"dangling") {
        QVERIFY(QFile::link(QStringLiteral("data/middle.xyz"), link));
        QVERIFY(QFile::link(QStringLiteral("real.xyz"), work.filePath("data/middle.xyz")));
    } else if (kind == u"null") {
        output = work.filePath(QStringLiteral("null"));
        if (::mknod(QFile::encodeName(output).constData(), S_IFCHR | 0666, makedev(1, 3)) != 0)
            QSKIP("no device node can be made here (not root)");
    } else if (kind == u"stdout") {
        output = work.filePath(QStringLiteral("stdout"));
        QVERIFY(QFile::link(QStringLiteral("/proc/self/fd/1"), output));
    } else {
        // Opened for reading first: the converter's writing then fits in the
        // pipe's buffer and is read back once it is done.
        output = work.filePath(QStringLiteral("pipe.xyz"));
        QCOMPARE(::mkfifo(QFile::encodeName(output).constData(), 0600), 0);
        pipe = ::open(QFile::encodeName(output).constData(), O_RDONLY | O_NONBLOCK);
        QVERIFY(pipe >= 0);
    }
    const Run run = runCli({"convert", input_, "-o", output}, config_.path(),
                           QStringLiteral("fr_FR.UTF-8"), QDir::currentPath(), 20000);
    QByteArray piped(4096, 0);
    if (pipe >= 0) {
        piped.truncate(std::max<qsizetype>(::read(pipe, piped.data(), 4096), 0));
        ::close(pipe);
    }
    QVERIFY2(run.exitCode == status, run.err.constData());
    QCOMPARE(temporaries(work.path()) + temporaries(work.filePath("data")), QStringList());
    const QByteArray written = "1,652345,678,6862104,512,";
    if (kind == u"null" || kind == u"stdout" || kind == u"pipe") {
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(output).constData(), &info), 0);
        QVERIFY(!S_ISREG(info.st_mode));
        if (kind == u"stdout")
            QVERIFY(QFileInfo(output).isSymLink());
        if (kind != u"null")
            QVERIFY((kind == u"pipe" ? piped : run.out).startsWith(written));
        return;
    }
    QVERIFY(QFileInfo(link).isSymLink());
    if (status == 0) {
        QVERIFY(readBytes(real).startsWith(written));
    } else {
        QVERIFY2(run.err.endsWith("Erreur d'exécution '70' :\n\nPermission refusée\n"),
                 run.err.constData());
        QCOMPARE(readBytes(real), old);
    }
}

// Stopped by a signal while it runs, the converter leaves no temporary file.
void TestConverter::noTemporaryLeftOnSignal_data() {
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << int(SIGINT);
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGHUP") << int(SIGHUP);
}

void TestConverter::noTemporaryLeftOnSignal() {
    QFETCH(int, signal);
    QTemporaryDir work;
    const QString in = work.filePath(QStringLiteral("in.xyz"));
    QCOMPARE(::mkfifo(QFile::encodeName(in).constData(), 0600), 0);
    QProcess process;
    startCli(process, {"convert", in, "-o", work.filePath(QStringLiteral("out.xyz"))},
             config_.path(), QStringLiteral("fr_FR.UTF-8"), QDir::currentPath());
    // The converter waits on the pipe, its output's temporary file made.
    const int fd = ::open(QFile::encodeName(in).constData(), O_WRONLY);
    QVERIFY(fd >= 0);
    QVERIFY(::write(fd, "1,2,3\r\n", 7) == 7);
    QTRY_COMPARE_WITH_TIMEOUT(temporaries(work.path()).size(), 1, 10000);
    ::kill(pid_t(process.processId()), signal);
    QVERIFY(process.waitForFinished(10000));
    ::close(fd);
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(temporaries(work.path()), QStringList());
    QVERIFY(!QFile::exists(work.filePath(QStringLiteral("out.xyz"))));
}

// Whatever the shape of the input, reading it takes no more memory than its
// size and 100 MB: a line far past the XYZ reader's limit is not held whole,
// a DXF field running to the end of the file is held once.
void TestConverter::memoryBoundedByTheInput_data() {
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<char>("filler"); // 300 MB of it after the head, no line break
    QTest::newRow("XYZ, one line") << QByteArray("P1,1,2,") << '7';
    QTest::newRow("DXF, quoted field before ENTITIES") << QByteArray("0\r\n\"") << 'A';
    QTest::newRow("DXF, unquoted field") << QByteArray("0\nSECTION\n2\nENTITIES\n") << 'B';
    QTest::newRow("DXF, quoted elevation")
        << QByteArray("0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1\n20\n2\n30\n\"") << '1';
    QTest::newRow("CSV, one cell") << QByteArray("id,x,y,z\n1,2,3,") << '7';
    QTest::newRow("CSV, quoted cell") << QByteArray("id,x,y,z\n1,2,3,\"") << '7';
    QTest::newRow("CSV, Windows-1252") << QByteArray("id,x,y,z\n\xe9,2,3,") << '7';
    QTest::newRow("CSV, many cells") << QByteArray("id,x,y,z\n1,2,3,") << ',';
}

void TestConverter::memoryBoundedByTheInput() {
    QFETCH(QByteArray, head);
    QFETCH(char, filler);
    constexpr qint64 kFill = qint64(300) << 20;
    QTemporaryDir work;
    const QString input =
        work.filePath(QStringLiteral("big.") +
                      QString::fromLatin1(QTest::currentDataTag()).section(u',', 0, 0).toLower());
    {
        QFile file(input);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(head);
        const QByteArray block(1 << 20, filler);
        for (qint64 done = 0; done < kFill; done += block.size())
            QVERIFY(file.write(block) == block.size());
    }
    const qint64 peak = peakMemoryOfList(input, config_.path());
    QVERIFY(peak > 0);
    QVERIFY2(peak <= QFileInfo(input).size() + (qint64(100) << 20),
             qPrintable(QStringLiteral("peak %1 MB").arg(peak >> 20)));
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

void TestConverter::agreesWithTheProgram_data() {
    Rows<Agreement> row;
    row("list, French", {"fr_FR.UTF-8", 0, {}, 1});
    row("list, English, grouped", {"en_US.UTF-8", 0, {"SepSys=1", "NbDec=0.0"}, 1});
    row("list, numbered, twice", {"fr_FR.UTF-8", 0, {"Inc_Num=1", "Num_Premier_Pt=7"}, 2});
    row("XYZ, French", {"fr_FR.UTF-8", 1, {"Separateur_Ecr=;"}, 2});
    row("XYZ, English, unformatted", {"en_US.UTF-8", 1, {"ExtCfg=1", "Separateur_Autre_Ecr=|"}, 2});
    row("DXF 3D, French", {"fr_FR.UTF-8", 2, {"Fich_Dim=3D", "Calque_Point=PTS"}, 2});
    row("DXF 2D, English", {"en_US.UTF-8", 2, {"Calque_Z="}, 2});
}

// What the converter writes, byte for byte what the program shows in its list
// after the open command, or writes with its save command.
void TestConverter::agreesWithTheProgram() {
    QFETCH(Agreement, c);
    const bool list = c.filterIndex == 0;
    const QStringList inputs(c.times, list ? large_ : input_);
    const QString extension = c.filterIndex == 1 ? QStringLiteral(".xyz") : QStringLiteral(".dxf");
    const QString output = dir_.filePath(QStringLiteral("cli") + extension);
    const QStringList command =
        list ? QStringList{"list"} : QStringList{"convert", "-o", output, "--height", "2.5"};
    const Run run =
        runCli(withSets(command + inputs, c.sets), config_.path(), QString::fromLatin1(c.locale));
    QCOMPARE(run.exitCode, 0);
    // Each input's lines that gave no point are told, and nothing else.
    const QByteArray file = readBytes(inputs.first());
    const int dropped = int(file.count('\r')) - (list ? largePoints_ : 3);
    QVERIFY(dropped > 0);
    const QString lines = dropped == 1
                              ? QStringLiteral("1 ligne sans point, laissée")
                              : QStringLiteral("%1 lignes sans point, laissées").arg(dropped);
    const QString told = QStringLiteral("tovalin-cli : « %1 » : %2 de côté\n")
                             .arg(QFileInfo(inputs.first()).fileName(), lines);
    QCOMPARE(QString::fromUtf8(run.err), told.repeated(c.times));

    Program program(QString::fromLatin1(c.locale), c.sets, inputs);
    QCOMPARE(program.state.PointCount, double((list ? largePoints_ : 3) * c.times));
    if (list) {
        std::string shown;
        for (int row = 1; row < program.state.Grid.rows(); ++row) {
            program.state.Grid.appendRowUtf8(row, 4, '\t', shown);
            shown += '\n';
        }
        QCOMPARE(run.out.size(), qsizetype(shown.size()));
        QVERIFY(run.out == QByteArrayView(shown));
        return;
    }
    const QString saved = dir_.filePath(QStringLiteral("saved") + extension);
    program.files.choose(saved, c.filterIndex);
    if (c.filterIndex == 2)
        program.boxes.answerInput(QStringLiteral("2.5"));
    SaveCommand(program.context);
    QCOMPARE(run.out, QByteArray());
    QVERIFY(!readBytes(saved).isEmpty());
    QCOMPARE(readBytes(output), readBytes(saved));
}

void TestConverter::dxfReadByIndependentReader() {
    const QString output = dir_.filePath(QStringLiteral("ezdxf.dxf"));
    const Run run = runCli(
        withSets({"convert", input_, "-o", output},
                 {"Fich_Dim=3D", "Calque_Point=PTS", "Calque_Matricule=MAT", "Calque_Z=ALT"}),
        config_.path(), QStringLiteral("en_US.UTF-8"));
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
