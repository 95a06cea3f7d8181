#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <vector>

namespace platform {

// Orientation codes of a printer, as the program has always kept them.
enum PrinterOrientation { OrientationPortrait = 1, OrientationLandscape = 2 };

// One installed printer as the print dialog lists it.
struct InstalledPrinter {
    QString DeviceName; // the queue's name
    QString DriverName; // its make and model
    QString Port;       // its device address
    int Orientation = OrientationPortrait;
};

// The printers of the system and the document being printed. Lines go to the
// current printer in its default font, one under the other from the top left
// of the page; a line that would pass the bottom of the page starts a new page
// first. Failures raise the run-time error (RuntimeError).
class PrinterService {
public:
    virtual ~PrinterService() = default;

    // The installed printers, in the print system's order.
    virtual std::vector<InstalledPrinter> printers() = 0;
    // The name of the printer lines go to ("" when there is none).
    virtual QString currentPrinter() const = 0;
    // Makes that installed printer the current one.
    virtual void setCurrentPrinter(const InstalledPrinter& printer) = 0;

    // Prints one line on the current printer; the first line starts the
    // document.
    virtual void printLine(const QString& text) = 0;
    // Ends the document and hands it to the print system.
    virtual void endDoc() = 0;
    // Discards the document being printed, if any; never fails.
    virtual void killDoc() = 0;
};

// For tests: printers given by the test, documents kept in memory. A failure
// can be planned at a given line or at the end of the document.
class ScriptedPrinter : public PrinterService {
public:
    std::vector<InstalledPrinter> installed;
    QString current;
    // Lines of the document being printed, and of every document ended.
    QStringList pending;
    std::vector<QStringList> ended;
    int killed = 0;
    // The 1-based line at which printLine raises the error, 0 for never; and
    // whether endDoc raises it.
    int failAtLine = 0;
    bool failAtEnd = false;
    // Every line of every document, counting from 1 across documents.
    int linesPrinted = 0;

    std::vector<InstalledPrinter> printers() override { return installed; }
    QString currentPrinter() const override { return current; }
    void setCurrentPrinter(const InstalledPrinter& printer) override {
        current = printer.DeviceName;
    }
    void printLine(const QString& text) override;
    void endDoc() override;
    void killDoc() override;
};

// The date and time of a listing in the regional format's language:
// "dddd dd mmmm yyyy" ("lundi 23 novembre 2026") and "hh:mm" (24-hour).
QString PrintingDateText(const QDate& date);
QString PrintingTimeText(const QTime& time);

} // namespace platform
