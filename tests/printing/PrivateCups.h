#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>
#include <vector>

// A CUPS scheduler of the test's own: cupsd started on a socket in a
// temporary folder, with its own configuration, spool and logs, so the
// system's scheduler (if any) is never touched. Libcups and Qt's print support
// in this process are pointed at it (CUPS_SERVER). Queues print through the
// real filters to a "file:" device in the folder: the PDF the printer would
// get, to be read back.
//
// The scheduler is stopped and the folder removed when the object goes.
class PrivateCups {
public:
    PrivateCups();
    ~PrivateCups();

    // Empty when the scheduler runs; otherwise the one-line reason it could not
    // be started.
    const QString& failure() const { return failure_; }

    // A queue printing to file NAME.pdf of the folder, through the generic
    // PDF printer's driver, with that default orientation (IPP's codes: 3
    // portrait, 4 landscape, 5 reverse landscape, 6 reverse portrait).
    bool addQueue(const QString& name, int orientation = 3);
    // Runs one of the CUPS commands (lpadmin, cupsdisable, ...) against the
    // scheduler; its output when it fails.
    bool command(const QString& program, const QStringList& arguments,
                 QString* output = nullptr) const;
    // Waits until the job has been printed; false when it did not in time.
    bool waitForJob(int job, int seconds = 60) const;
    // Stops the scheduler's process (SIGSTOP) so that it takes requests and
    // never answers them, or lets it go on (SIGCONT).
    bool pause(bool paused) const;
    // The document of a job as it was handed to the scheduler (kept in its
    // spool after printing).
    QString spooledDocument(int job) const;
    // The file a queue's device writes.
    QString outputOf(const QString& queue) const;
    QString socket() const;

private:
    QTemporaryDir dir_;
    QProcess cupsd_;
    QString failure_;
};

// The lines of each page of a PDF as pdftotext -layout reads it, the margin
// the lines share taken off. Given the pitch of the document's fixed-pitch
// font, every blank is where it stands on paper; without it pdftotext
// guesses the width of a run of blanks.
std::vector<QStringList> PdfPages(const QByteArray& pdf, double pitch = 0);
