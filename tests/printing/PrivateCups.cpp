#include "PrivateCups.h"
#include "TestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <algorithm>
#include <csignal>
#include <cups/cups.h>
#include <limits>
#include <unistd.h>

QString PrivateCups::socket() const {
    return dir_.filePath(QStringLiteral("cups.sock"));
}

PrivateCups::PrivateCups() {
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
                            "\nLogLevel warn\nBrowsing No\nWebInterface No\n"
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
    testing::writeBytes(dir_.filePath(QStringLiteral("cupsd.conf")), conf);
    testing::writeBytes(dir_.filePath(QStringLiteral("cups-files.conf")), files);

    // The scheduler's own output goes to its log folder.
    cupsd_.setProcessChannelMode(QProcess::MergedChannels);
    cupsd_.setStandardOutputFile(dir_.filePath(QStringLiteral("log/cupsd.out")));
    cupsd_.start(cupsd, {QStringLiteral("-f"), QStringLiteral("-c"), root + "/cupsd.conf",
                         QStringLiteral("-s"), root + "/cups-files.conf"});
    qputenv("CUPS_SERVER", socket().toUtf8());
    cupsSetServer(socket().toUtf8().constData());
    const QDeadlineTimer deadline(20000);
    QString answer;
    while (!command(QStringLiteral("lpstat"), {QStringLiteral("-r")}, &answer) ||
           !answer.contains(QStringLiteral("is running"))) {
        if (cupsd_.state() == QProcess::NotRunning || cupsd_.waitForFinished(100) ||
            deadline.hasExpired()) {
            // Its last word, from its output or its log.
            const QByteArray log =
                testing::readBytes(dir_.filePath(QStringLiteral("log/cupsd.out"))) +
                testing::readBytes(dir_.filePath(QStringLiteral("log/error_log")));
            failure_ = QStringLiteral("cupsd did not answer on %1: %2")
                           .arg(socket(), QString::fromUtf8(log.trimmed().split('\n').last()));
            return;
        }
    }
}

PrivateCups::~PrivateCups() {
    cupsd_.terminate();
    if (!cupsd_.waitForFinished(10000))
        cupsd_.kill();
    cupsd_.waitForFinished();
    cupsSetServer(nullptr);
    qunsetenv("CUPS_SERVER");
    // The temporary folder goes with dir_.
}

bool PrivateCups::command(const QString& program, const QStringList& arguments,
                          QString* output) const {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
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
    // The generic PDF printer of cups-filters: what it prints is a PDF again,
    // which poppler reads back.
    return command(QStringLiteral("lpadmin"),
                   {QStringLiteral("-p"), name, QStringLiteral("-E"), QStringLiteral("-v"),
                    QStringLiteral("file://") + outputOf(name), QStringLiteral("-m"),
                    QStringLiteral("lsb/usr/cupsfilters/Generic-PDF_Printer-PDF.ppd"),
                    QStringLiteral("-o"),
                    QStringLiteral("orientation-requested-default=%1").arg(orientation)});
}

bool PrivateCups::pause(bool paused) const {
    const qint64 pid = cupsd_.processId();
    return pid > 0 && ::kill(static_cast<pid_t>(pid), paused ? SIGSTOP : SIGCONT) == 0;
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

std::vector<QStringList> PdfPages(const QByteArray& pdf, double pitch) {
    QStringList arguments{QStringLiteral("-layout"), QStringLiteral("-enc"),
                          QStringLiteral("UTF-8")};
    if (pitch > 0)
        arguments << QStringLiteral("-fixed") << QString::number(pitch);
    QProcess process;
    process.start(QStringLiteral("pdftotext"),
                  arguments << QStringLiteral("-") << QStringLiteral("-"));
    process.write(pdf);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return {{QStringLiteral("(pdftotext failed)")}};
    QStringList pages = QString::fromUtf8(process.readAllStandardOutput()).split(u'\f');
    pages.removeLast(); // after the last page's form feed
    std::vector<QStringList> out;
    qsizetype margin = std::numeric_limits<qsizetype>::max();
    for (const QString& page : pages) {
        QStringList lines = page.split(u'\n');
        while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
            lines.removeLast();
        for (const QString& line : lines) {
            if (!line.trimmed().isEmpty())
                margin = std::min(margin, line.indexOf(line.trimmed().front()));
        }
        out.push_back(lines);
    }
    for (QStringList& lines : out) {
        for (QString& line : lines)
            line.remove(0, margin);
    }
    return out;
}
