#pragma once

#include "platform/Printer.h"

#include <chrono>
#include <memory>
#include <optional>

namespace platform {

class PdfTextDocument;

// The printers of the system: the CUPS queues that QtPrintSupport lists, in
// its order, with their make and model. The device address, the default
// orientation and the queue's state come from the scheduler itself (libcups),
// which Qt does not tell. The scheduler is the one libcups finds: CUPS_SERVER,
// the user's client.conf, else the local one.
//
// A document is a PDF of the lines in Courier 10 points on the queue's default
// paper, built in memory as the lines come and handed to the queue whole when
// it ends; CUPS's filters then make of it what the printer takes.
//
// Every talk with the scheduler runs on a thread of its own while the program
// goes on processing its events, so a scheduler that does not answer never
// freezes the windows; after the answer limit the talk is given up with the
// printer error (and a job it still makes is cancelled).
class CupsPrinter : public PrinterService {
public:
    explicit CupsPrinter(std::chrono::milliseconds answerLimit = std::chrono::seconds(30));
    ~CupsPrinter() override;

    std::vector<InstalledPrinter> printers() override;
    QString currentPrinter() const override;
    void setCurrentPrinter(const InstalledPrinter& printer) override;
    void printLine(const QString& text) override;
    void endDoc() override;
    void killDoc() override;

    // The CUPS job of the last document handed over (0 before any).
    int lastJob() const { return lastJob_; }

private:
    void beginDocument();
    static QString defaultQueue();

    // The system's default queue until one is chosen; looked up when first
    // needed, so start-up never waits for the scheduler.
    mutable std::optional<QString> current_;
    std::unique_ptr<PdfTextDocument> document_;
    QString documentPrinter_;
    int lastJob_ = 0;
    std::chrono::milliseconds answerLimit_;
};

} // namespace platform
