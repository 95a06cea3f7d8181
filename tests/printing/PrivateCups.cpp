#include "PrivateCups.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cups/cups.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool writeFile(const QString& path, const QByteArray& text) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

QString PrivateCups::driverModel() {
    // The generic PDF printer of cups-filters: what it prints is a PDF again,
    // which poppler reads back.
    return QStringLiteral("lsb/usr/cupsfilters/Generic-PDF_Printer-PDF.ppd");
}

QString PrivateCups::socket() const {
    return dir_.filePath(QStringLiteral("cups.sock"));
}

PrivateCups::PrivateCups() {
    hadServer_ = qEnvironmentVariableIsSet("CUPS_SERVER");
    savedServer_ = qgetenv("CUPS_SERVER");
    const QString cupsd = QStandardPaths::findExecutable(
        QStringLiteral("cupsd"), {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")});
    if (cupsd.isEmpty()) {
        failure_ = QStringLiteral("no cupsd: the cups-daemon package is missing (scripts/deps.sh)");
        return;
    }
    if (::geteuid() != 0) {
        failure_ =
            QStringLiteral("cupsd needs root to run its filters as lp; run the tests as root");
        return;
    }
    if (!dir_.isValid()) {
        failure_ = QStringLiteral("no temporary folder for the scheduler");
        return;
    }
    const QString root = dir_.path();
    QFile::setPermissions(root, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                    QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther |
                                    QFile::ExeOther);
    for (const char* sub : {"spool", "cache", "state", "log", "tmp", "out"})
        QDir(root).mkpath(QString::fromLatin1(sub));
    // The filters run as lp: they write their temporary files here.
    for (const char* open : {"tmp", "out"})
        QFile::setPermissions(dir_.filePath(QString::fromLatin1(open)), QFile::Permissions(0x7777));

    const QByteArray r = root.toUtf8();
    const QByteArray conf = "Listen " + socket().toUtf8() +
                            "\nLogLevel info\nBrowsing No\nWebInterface No\n"
                            "DefaultAuthType None\nErrorPolicy stop-printer\nPreserveJobFiles Yes\n"
                            "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                            "<Location /admin>\n  Order allow,deny\n  Allow all\n</Location>\n"
                            "<Policy default>\n  <Limit All>\n    Order deny,allow\n"
                            "  </Limit>\n</Policy>\n";
    const QByteArray files = "ServerRoot " + r + "\nRequestRoot " + r + "/spool\nTempDir " + r +
                             "/tmp\nCacheDir " + r + "/cache\nStateDir " + r + "/state\nErrorLog " +
                             r + "/log/error_log\nAccessLog " + r + "/log/access_log\nPageLog " +
                             r +
                             "/log/page_log\nFileDevice Yes\nSandboxing Relaxed\n"
                             "SystemGroup root\n";
    if (!writeFile(dir_.filePath(QStringLiteral("cupsd.conf")), conf) ||
        !writeFile(dir_.filePath(QStringLiteral("cups-files.conf")), files)) {
        failure_ = QStringLiteral("cannot write the scheduler's configuration in ") + root;
        return;
    }

    const pid_t child = ::fork();
    if (child == 0) {
        // The scheduler's own output goes to its log folder.
        const QByteArray out = r + "/log/cupsd.out";
        std::freopen(out.constData(), "w", stdout);
        std::freopen(out.constData(), "w", stderr);
        const QByteArray program = cupsd.toUtf8();
        const QByteArray c = r + "/cupsd.conf";
        const QByteArray s = r + "/cups-files.conf";
        ::execl(program.constData(), "cupsd", "-f", "-c", c.constData(), "-s", s.constData(),
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    if (child < 0) {
        failure_ = QStringLiteral("cannot start cupsd");
        return;
    }
    pid_ = child;

    qputenv("CUPS_SERVER", socket().toUtf8());
    cupsSetServer(socket().toUtf8().constData());
    const QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired()) {
        int status = 0;
        if (::waitpid(child, &status, WNOHANG) == child) {
            pid_ = 0;
            QFile log(dir_.filePath(QStringLiteral("log/cupsd.out")));
            log.open(QIODevice::ReadOnly);
            const QList<QByteArray> lines = log.readAll().trimmed().split('\n');
            failure_ = QStringLiteral("cupsd stopped at once: ") +
                       QString::fromUtf8(lines.isEmpty() ? QByteArray() : lines.last());
            return;
        }
        QString answer;
        if (QFileInfo::exists(socket()) &&
            command(QStringLiteral("lpstat"), {QStringLiteral("-r")}, &answer) &&
            answer.contains(QStringLiteral("is running")))
            return;
        QThread::msleep(100);
    }
    failure_ = QStringLiteral("cupsd did not answer on ") + socket() + QStringLiteral(" in 20 s");
}

PrivateCups::~PrivateCups() {
    if (pid_ > 0) {
        ::kill(static_cast<pid_t>(pid_), SIGTERM);
        int status = 0;
        const QDeadlineTimer deadline(10000);
        while (::waitpid(static_cast<pid_t>(pid_), &status, WNOHANG) == 0) {
            if (deadline.hasExpired()) {
                ::kill(static_cast<pid_t>(pid_), SIGKILL);
                ::waitpid(static_cast<pid_t>(pid_), &status, 0);
                break;
            }
            QThread::msleep(50);
        }
    }
    cupsSetServer(nullptr);
    if (hadServer_)
        qputenv("CUPS_SERVER", savedServer_);
    else
        qunsetenv("CUPS_SERVER");
    // The temporary folder goes with dir_.
}

bool PrivateCups::command(const QString& program, const QStringList& arguments,
                          QString* output) const {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("CUPS_SERVER"), socket());
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    const bool done = process.waitForFinished(30000);
    const QString text = QString::fromUtf8(process.readAll());
    if (output != nullptr)
        *output = text;
    return done && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QString PrivateCups::outputOf(const QString& queue) const {
    return dir_.filePath(QStringLiteral("out/") + queue + QStringLiteral(".pdf"));
}

QString PrivateCups::spooledDocument(int job) const {
    return dir_.filePath(QStringLiteral("spool/d%1-001").arg(job, 5, 10, QLatin1Char('0')));
}

bool PrivateCups::addQueue(const QString& name, int orientation) {
    QStringList arguments{QStringLiteral("-p"),
                          name,
                          QStringLiteral("-E"),
                          QStringLiteral("-v"),
                          QStringLiteral("file://") + outputOf(name),
                          QStringLiteral("-m"),
                          driverModel()};
    arguments << QStringLiteral("-o")
              << QStringLiteral("orientation-requested-default=%1").arg(orientation);
    return command(QStringLiteral("lpadmin"), arguments);
}

bool PrivateCups::addFailingQueue(const QString& name) {
    // A serial port that does not exist: the backend fails at once.
    return command(QStringLiteral("lpadmin"),
                   {QStringLiteral("-p"), name, QStringLiteral("-E"), QStringLiteral("-v"),
                    QStringLiteral("serial:/dev/tovalin-no-such-port"), QStringLiteral("-m"),
                    driverModel(), QStringLiteral("-o"),
                    QStringLiteral("printer-error-policy=stop-printer")});
}

bool PrivateCups::pause(bool paused) const {
    return pid_ > 0 && ::kill(static_cast<pid_t>(pid_), paused ? SIGSTOP : SIGCONT) == 0;
}

bool PrivateCups::waitForJob(int job, int seconds) const {
    const QDeadlineTimer deadline(seconds * 1000);
    while (!deadline.hasExpired()) {
        cups_job_t* jobs = nullptr;
        const int count = cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, nullptr, 0, CUPS_WHICHJOBS_ALL);
        ipp_jstate_t state = IPP_JSTATE_PENDING;
        for (int i = 0; i < count; ++i) {
            if (jobs[i].id == job)
                state = jobs[i].state;
        }
        cupsFreeJobs(count, jobs);
        if (state == IPP_JSTATE_COMPLETED)
            return true;
        if (state >= IPP_JSTATE_STOPPED && state != IPP_JSTATE_COMPLETED)
            return false;
        QThread::msleep(100);
    }
    return false;
}

bool PrivateCups::waitForStopped(const QString& queue, int seconds) const {
    const QDeadlineTimer deadline(seconds * 1000);
    while (!deadline.hasExpired()) {
        QString answer;
        command(QStringLiteral("lpstat"), {QStringLiteral("-p"), queue}, &answer);
        if (answer.contains(QStringLiteral("disabled")))
            return true;
        QThread::msleep(200);
    }
    return false;
}

QString PdfText(const QString& file) {
    QProcess process;
    process.start(QStringLiteral("pdftotext"),
                  {QStringLiteral("-layout"), QStringLiteral("-enc"), QStringLiteral("UTF-8"), file,
                   QStringLiteral("-")});
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return QStringLiteral("(pdftotext failed: ") +
               QString::fromUtf8(process.readAllStandardError()) + u')';
    return QString::fromUtf8(process.readAllStandardOutput());
}

std::vector<QStringList> PdfPageLines(const QString& file) {
    QProcess process;
    process.start(QStringLiteral("pdftotext"),
                  {QStringLiteral("-bbox"), file, QStringLiteral("-")});
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return {{QStringLiteral("(pdftotext -bbox failed)")}};
    struct Word {
        double xMin, yMin, xMax;
        QString text;
    };
    std::vector<std::vector<Word>> pages;
    static const QRegularExpression tag(
        QStringLiteral("<page |<word xMin=\"([-0-9.]+)\" yMin=\"([-0-9.]+)\" "
                       "xMax=\"([-0-9.]+)\" yMax=\"[-0-9.]+\">([^<]*)</word>"));
    const QString html = QString::fromUtf8(process.readAllStandardOutput());
    double left = 1e9;
    double pitch = 1e9;
    for (auto match = tag.globalMatch(html); match.hasNext();) {
        const QRegularExpressionMatch m = match.next();
        if (m.captured(0).startsWith(QStringLiteral("<page"))) {
            pages.emplace_back();
            continue;
        }
        QString text = m.captured(4);
        text.replace(QStringLiteral("&lt;"), QStringLiteral("<"))
            .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
            .replace(QStringLiteral("&quot;"), QStringLiteral("\""))
            .replace(QStringLiteral("&apos;"), QStringLiteral("'"))
            .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
        const Word word{m.captured(1).toDouble(), m.captured(2).toDouble(),
                        m.captured(3).toDouble(), text};
        left = std::min(left, word.xMin);
        if (pages.empty())
            pages.emplace_back();
        pages.back().push_back(word);
    }
    std::vector<QStringList> out;
    for (std::vector<Word>& words : pages) {
        // Poppler gives the words in its reading order, a column after the
        // other; on paper a line runs across the page.
        std::stable_sort(words.begin(), words.end(), [](const Word& a, const Word& b) {
            return a.yMin + 0.5 < b.yMin || (std::abs(a.yMin - b.yMin) <= 0.5 && a.xMin < b.xMin);
        });
        for (std::size_t i = 1; i < words.size(); ++i) {
            const double dy = words[i].yMin - words[i - 1].yMin;
            if (dy > 0.5)
                pitch = std::min(pitch, dy);
        }
    }
    for (const std::vector<Word>& words : pages) {
        QStringList lines;
        const Word* previous = nullptr;
        QString line;
        for (const Word& word : words) {
            const double width = (word.xMax - word.xMin) / std::max<qsizetype>(1, word.text.size());
            if (previous != nullptr && word.yMin - previous->yMin > 0.5) {
                lines << line;
                line.clear();
                // Lines left empty between the two.
                for (int gap = qRound((word.yMin - previous->yMin) / pitch); gap > 1; --gap)
                    lines << QString();
                previous = nullptr;
            }
            const double from = previous != nullptr ? previous->xMax : left;
            line += QString(qRound((word.xMin - from) / width), u' ') + word.text;
            previous = &word;
        }
        if (previous != nullptr)
            lines << line;
        out.push_back(lines);
    }
    return out;
}
