#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "app/FileCommands.h"
#include "state/Startup.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
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

// Starts the real converter with its own settings folder and regional format.
void startCli(QProcess& process, const QStringList& args, const QString& configHome,
              const QString& locale = QStringLiteral("fr_FR.UTF-8"),
              const QString& workDir = QDir::currentPath()) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    env.insert(QStringLiteral("LC_ALL"), locale);
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(workDir);
    process.start(QStringLiteral(TOVALIN_BINARY_DIR "/bin/tovalin-cli"), args);
}

// Runs it with input on its standard input (a pipe, /dev/stdin); one still
// running after two minutes is killed (exit code -2).
Run runCli(const QStringList& args, const QString& configHome,
           const QString& locale = QStringLiteral("fr_FR.UTF-8"), const QByteArray& input = {},
           const QString& workDir = QDir::currentPath()) {
    QProcess process;
    startCli(process, args, configHome, locale, workDir);
    process.write(input);
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(120000);
    if (!finished) {
        process.kill();
        process.waitForFinished();
    }
    const int status = !finished                                      ? -2
                       : process.exitStatus() == QProcess::NormalExit ? process.exitCode()
                                                                      : -1;
    return Run{status, process.readAllStandardOutput(), process.readAllStandardError()};
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

QString importSample(const QString& name) {
    return QStringLiteral(TOVALIN_TEST_DATA "/import/") + name;
}

// A run in the test's folder, where in.xyz holds input (or standard input
// does, for /dev/stdin): the exit status, what standard error ends with (a
// usage error's line is followed by the usage) and what standard output holds.
struct Told {
    QStringList args;
    int status;
    QString err;           // empty: nothing
    QString out = {};      // whole when it ends a line, else a part; null: not looked at
    QByteArray input = {}; // in.xyz
};

// The output, in a folder where link.xyz and hard.xyz name the input,
// to-real.xyz links to data/real.xyz and chain.xyz to a link to it; "null" is
// a device, "stdout" a link into /proc and "pipe" a named pipe.
struct Output {
    QString input;    // "sample", "large" (too many points for XYZ) or "none" (no point)
    QString output;   // the name given to the converter
    QString old;      // the file that holds "old" before the run; empty: none
    QStringList more; // further arguments
    int status;
    QString message; // on standard error
    int mode = 0;    // the permissions of the file written or kept; 0: not looked at
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
Q_DECLARE_METATYPE(Told)
Q_DECLARE_METATYPE(Agreement)
Q_DECLARE_METATYPE(Output)

class TestConverter : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void told_data();
    void told();
    void settingsFileIsReadNeverWritten();
    void agreesWithTheProgram_data();
    void agreesWithTheProgram();
    void dxfReadByIndependentReader();
    void output_data();
    void output();
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

void TestConverter::told_data() {
    Rows<Told> row;
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
    const QString roles = QStringLiteral("--columns attend les rôles id, x, y, z ou - séparés par "
                                         "des virgules, x et y une fois chacun : ");
    row("unknown role",
        {{"list", "--from", "csv", "--columns", "id,x,q", "a.csv"}, 2, roles + "id,x,q"});
    row("role twice",
        {{"list", "--from", "csv", "--columns", "x,y,x", "a.csv"}, 2, roles + "x,y,x"});
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
    row("help", {{"list", "--help"}, 0, "", "--set CLE=VALEUR"});
    row("version", {{"--version"}, 0, "", "tovalin-cli (Tovalin) " TOVALIN_VERSION_TEXT "\n"});
    // After "--" a name like an option is a file.
    row("-- ends the options", {{"list", "--", "-a.xyz"},
                                0,
                                "",
                                "1\t652345,678\t6862104,512\t152,304\n2\t652351,902\t6862110,047\t"
                                "152,611\nB7\t-0,500\t12,346\t0,000\n"});
    row("help after --", {{"list", "--", "--help"}, 1, "Fichier introuvable\n"});
    row("option after --", {{"list", "--", "-o", "b.xyz"}, 1, "Fichier introuvable\n"});
    // A file that cannot be read: the report, and no output at all.
    row("read error",
        {{"convert", input_, dir_.filePath("missing.xyz"), "-o", dir_.filePath("never.dxf")},
         1,
         "Erreur d'exécution '53' :\n\nFichier introuvable\n"});

    // What an input left out, the status unchanged.
    const QString one = QStringLiteral("« in.xyz » : 1 ligne sans point, laissée de côté\n");
    const QString nothing = QStringLiteral("« in.xyz » n'a donné aucun point");
    const QString other = QStringLiteral("« in.xyz » : il ressemble à un relevé d'un autre "
                                         "programme (%1) : essayer --from csv\n");
    const QStringList list{"list", "in.xyz"};
    row("all good", {list, 0, "", {}, "1,2,3\r\n4,5,6"});
    row("through a pipe", {{"list", "/dev/stdin"},
                           0,
                           "« stdin » : 1 ligne sans point, laissée de côté\n",
                           {},
                           "x\r1,2,3\r\n4,5,6"});
    row("one bad line", {list, 0, one, {}, "x\r\n1,2,3\r\n"});
    row("lone CR and a last line",
        {list, 0, "« in.xyz » : 3 lignes sans point, laissées de côté\n", {}, "x\r1,2,3\ry\r\nz"});
    // A lone CR at the very end ends the last line: no empty line after it.
    row("ends in a lone CR",
        {list, 0, "« in.xyz » : 2 lignes sans point, laissées de côté\n", {}, "x\r1,2,3\ry\r"});
    row("empty", {list, 0, nothing, {}, ""});
    // A drawing's many lines are no points to report: only XYZ lines count.
    row("a drawing: nothing to report", {{"list", "--from", "dxf", "in.xyz"},
                                         0,
                                         "",
                                         {},
                                         "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nPOINT\r\n8\r\n0\r\n"
                                         "10\r\n1\r\n20\r\n2\r\n30\r\n3\r\n"
                                         "0\r\nENDSEC\r\n0\r\nEOF\r\n"});
    row("wrong separator", {list, 0, nothing, {}, "1;2;3\r\n4;5;6\r\n"});
    // Files that other programs write, which the importer reads.
    row("LF line ends", {list, 0, other.arg("lignes terminées par LF seul"), {}, "1,2,3\n4,5,6\n"});
    row("header and code column", {list,
                                   0,
                                   other.arg("ligne d'en-tête, plus de quatre colonnes"),
                                   {},
                                   "Point;Est;Nord;Alt;Code\r\n1;2;3;4;CP\r\n"});

    // Through the importer: the layout, the count and the rows left aside.
    row("columns and separator given",
        {{"list", "--from", "csv", "--columns", "id,y,x", "--separator", ",", "--decimal", ".",
          importSample("pnezd-code.csv")},
         0,
         "« pnezd-code.csv » : encodage UTF-8, séparateur virgule, décimale point, sans en-tête, "
         "colonnes id,y,x ; 3 points lus\n",
         "1\t2000,000\t1000,000\t0,000\n2\t2005,125\t1010,250\t0,000\n"
         "3\t2010,750\t1020,500\t0,000\n"});
    QString many = QStringLiteral("« many-bad-rows.csv » : encodage UTF-8, séparateur virgule, "
                                  "décimale point, 1 ligne d'en-tête, colonnes id,x,y,z ; 13 "
                                  "points lus, 14 lignes laissées de côté\n");
    for (int line = 2; line <= 20; line += 2)
        many += QStringLiteral("tovalin-cli : « many-bad-rows.csv » : ligne %1 : X n'est pas un "
                               "nombre : « abc »\n")
                    .arg(line);
    row("the first ten rows, then a count",
        {{"list", "--from", "csv", importSample("many-bad-rows.csv")},
         0,
         many + "tovalin-cli : « many-bad-rows.csv » : et 4 autres lignes laissées de côté\n"});
    // Converted too, here to standard output (2D by default).
    row("POINTs of a drawing",
        {{"convert", "--from", "dxf-points", "--set", "Num_Pt_Dxf=7", "--set", "Separateur_Ecr=;",
          "-o", "/dev/stdout", importSample("r12-crlf.dxf")},
         0,
         "« r12-crlf.dxf » : 3 points lus\n",
         "7;652100,125;6862300,500;0.000\r\n8;652110,250;6862310,125;0.000\r\n"
         "9;-12,500;0,000;0.000\r\n"});
}

// 2 for a usage error, 1 for a run-time error, with the message on standard
// error and nothing written; 0 for a run that went through, which tells on
// standard error only what the input left out.
void TestConverter::told() {
    QFETCH(Told, c);
    const bool piped = c.args.contains(QStringLiteral("/dev/stdin"));
    writeBytes(dir_.filePath(QStringLiteral("in.xyz")), c.input);
    const Run run = runCli(c.args, config_.path(), QStringLiteral("fr_FR.UTF-8"),
                           piped ? c.input : QByteArray(), dir_.path());
    QCOMPARE(run.exitCode, c.status);
    const QString err = QString::fromUtf8(run.err);
    const QString prefix = QStringLiteral("tovalin-cli : ");
    const QString usage = QStringLiteral("\nusage : tovalin-cli list|convert [--from xyz|dxf] "
                                         "[--to xyz|dxf] [--set CLE=VALEUR]... [--height TEXTE] "
                                         "ENTREE... [-o SORTIE]\n");
    if (c.status == 2)
        QVERIFY2(err.startsWith(prefix + c.err + usage), run.err.constData());
    else if (c.status == 1)
        QVERIFY2(err.endsWith(c.err), run.err.constData());
    else
        QVERIFY2(c.err.isEmpty() ? err.isEmpty() : err.startsWith(prefix) && err.contains(c.err),
                 run.err.constData());
    const QString out = QString::fromUtf8(run.out);
    if (c.status != 0)
        QCOMPARE(out, QString());
    else if (!c.out.isNull())
        QVERIFY2(c.out.endsWith(u'\n') ? out == c.out : out.contains(c.out), run.out.constData());
    QVERIFY(!QFile::exists(dir_.filePath(QStringLiteral("never.dxf"))));
}

void TestConverter::output_data() {
    Rows<Output> row;
    const QString same = QStringLiteral("est le fichier d'entrée");
    const QString limit = QStringLiteral("un fichier XYZ s'écrit avec 32 768 points au plus");
    const QString zero = QStringLiteral("hauteur de texte nulle");
    const QString none = QStringLiteral("aucun point lu");
    const QString denied = QStringLiteral("'70' :\n\nPermission refusée\n");
    // An output that is an input is refused before anything is read.
    row("same name", {"sample", "in.xyz", {}, {}, 2, same});
    row("same through a link", {"sample", "link.xyz", {}, {}, 2, same});
    row("same as a hard link", {"sample", "hard.xyz", {}, {}, 2, same});
    // Written whole, then renamed: a new file gets what the umask (027)
    // leaves, as one created in its place would; a replaced one keeps its own.
    row("new file", {"sample", "out.xyz", {}, {}, 0, {}, 0640});
    row("old file replaced", {"sample", "out.xyz", "out.xyz", {}, 0, {}, 0600});
    // A failed write leaves the target as it was.
    row("failed write, old file", {"large", "out.xyz", "out.xyz", {}, 1, limit, 0600});
    // A height of 0 stops the DXF writer before any file is touched.
    row("height 0.0, no file", {"sample", "out.dxf", {}, {"--height", "0.0"}, 1, zero});
    // No point read: nothing written, told before the height is looked at.
    row("no point, old file", {"none", "out.xyz", "out.xyz", {}, 1, none});
    row("no point, bad height", {"none", "out.dxf", "out.dxf", {"--height", "x"}, 1, none});
    // Through links, the file they lead to is replaced and the links kept. A
    // write-protected file is refused as the program's save refuses it, by
    // its mode: the tests may run as root.
    row("link to a file", {"sample", "to-real.xyz", "data/real.xyz", {}, 0, {}, 0600});
    row("links to a new file", {"sample", "chain.xyz", {}, {}, 0, {}, 0640});
    row("write-protected", {"sample", "data/real.xyz", "data/real.xyz", {}, 1, denied, 0444});
    row("link to write-protected", {"sample", "to-real.xyz", "data/real.xyz", {}, 1, denied, 0444});
    // A device or a pipe is written into, never replaced: the test's own
    // device node and link into /proc, so that a converter that replaced them
    // would not replace the system's /dev/null.
    row("device like /dev/null", {"sample", "null", {}, {}, 0, {}});
    row("link into /proc like /dev/stdout", {"sample", "stdout", {}, {}, 0, {}});
    row("named pipe", {"sample", "pipe", {}, {}, 0, {}});
}

// The converter never destroys an input nor leaves a partial output or a
// temporary file, wherever the output stands.
void TestConverter::output() {
    QFETCH(Output, c);
    QTemporaryDir work;
    const auto at = [&work](const QString& name) { return work.filePath(name); };
    const auto path = [](const QString& name) { return QFile::encodeName(name); };
    const QString in = at(QStringLiteral("in.xyz"));
    const QByteArray original = c.input == u"none"    ? QByteArray("bad line\r\n")
                                : c.input == u"large" ? readBytes(large_)
                                                      : readBytes(input_);
    writeBytes(in, original);
    QVERIFY(QDir(work.path()).mkpath(QStringLiteral("data")));
    QVERIFY(QFile::link(QStringLiteral("in.xyz"), at("link.xyz")));
    QVERIFY(QFile::link(QStringLiteral("data/real.xyz"), at("to-real.xyz")));
    QVERIFY(QFile::link(QStringLiteral("data/middle.xyz"), at("chain.xyz")));
    QVERIFY(QFile::link(QStringLiteral("real.xyz"), at("data/middle.xyz")));
    QCOMPARE(::link(path(in).constData(), path(at("hard.xyz")).constData()), 0);
    if (!c.old.isEmpty()) {
        writeBytes(at(c.old), "old\r\n");
        QVERIFY(c.mode == 0 || ::chmod(path(at(c.old)).constData(), mode_t(c.mode)) == 0);
    }
    const QString output = at(c.output);
    int pipe = -1;
    if (c.output == u"null" &&
        ::mknod(path(output).constData(), S_IFCHR | 0666, makedev(1, 3)) != 0)
        QSKIP("no device node can be made here (not root)");
    if (c.output == u"stdout")
        QVERIFY(QFile::link(QStringLiteral("/proc/self/fd/1"), output));
    if (c.output == u"pipe") {
        // Opened for reading first: the converter's writing then fits in the
        // pipe's buffer and is read back once it is done.
        QCOMPARE(::mkfifo(path(output).constData(), 0600), 0);
        pipe = ::open(path(output).constData(), O_RDONLY | O_NONBLOCK);
        QVERIFY(pipe >= 0);
    }
    const mode_t saved = ::umask(027);
    const Run run = runCli(QStringList{"convert", in, "-o", output} + c.more, config_.path());
    ::umask(saved);
    QByteArray piped(4096, 0);
    if (pipe >= 0) {
        piped.truncate(std::max<qsizetype>(::read(pipe, piped.data(), 4096), 0));
        ::close(pipe);
    }

    QVERIFY2(run.exitCode == c.status, run.err.constData());
    QVERIFY2(QString::fromUtf8(run.err).contains(c.message), run.err.constData());
    QCOMPARE(readBytes(in), original);
    QCOMPARE(temporaries(work.path()) + temporaries(at("data")), QStringList());
    for (const char* link : {"link.xyz", "to-real.xyz", "chain.xyz", "data/middle.xyz"})
        QVERIFY(QFileInfo(at(link)).isSymLink());
    const QByteArray written = "1,652345,678,6862104,512,";
    struct stat info {};
    const bool exists = ::stat(path(output).constData(), &info) == 0;
    if (c.output == u"null" || c.output == u"stdout" || c.output == u"pipe") {
        // Looked at without following the link: the test's own standard
        // output may well be a file.
        QVERIFY(exists && (!QFileInfo(output).isFile() || QFileInfo(output).isSymLink()));
        QVERIFY(c.output == u"null" || (pipe >= 0 ? piped : run.out).startsWith(written));
    } else if (c.status == 0) {
        QVERIFY(readBytes(output).startsWith(written));
    } else if (!c.old.isEmpty()) {
        QCOMPARE(readBytes(at(c.old)), QByteArray("old\r\n"));
    } else if (c.status == 1) {
        QVERIFY(!exists);
    }
    if (c.mode != 0)
        QCOMPARE(info.st_mode & 07777, mode_t(c.mode));
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
    QProcess process;
    startCli(process, {"convert", "/dev/stdin", "-o", work.filePath(QStringLiteral("out.xyz"))},
             config_.path());
    // The converter waits on its input, its output's temporary file made.
    process.write("1,2,3\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(temporaries(work.path()).size(), 1, 10000);
    ::kill(pid_t(process.processId()), signal);
    QVERIFY(process.waitForFinished(10000));
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

// The user's settings apply, and the list is the program's: a tab in an
// identifier moves the cells along.
void TestConverter::settingsFileIsReadNeverWritten() {
    QTemporaryDir config;
    const QString ini = config.filePath(QStringLiteral("Tovalin/Tovalin.ini"));
    const QByteArray content = "[Param\xc3\xa8tre]\nSeparateur_Lec=;\n[App]\nNbDec=0.0\n";
    writeBytes(ini, content);
    const QString input = dir_.filePath(QStringLiteral("semicolons.xyz"));
    writeBytes(input, "P;1,25;2;3\r\nT\tab;1;2;3\r\n");
    const Run run = runCli({"list", input}, config.path());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QByteArray("P\t1,3\t2,0\t3,0\nT\tab\t1,0\t2,0\n"));
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
