#include "platform/Printer.h"

#include "platform/RuntimeError.h"

#include <QLocale>

namespace platform {

void ScriptedPrinter::printLine(const QString& text) {
    ++linesPrinted;
    if (failAtLine != 0 && linesPrinted == failAtLine)
        throw RuntimeError(RuntimeError::PrinterError);
    pending.append(text);
}

void ScriptedPrinter::endDoc() {
    if (failAtEnd)
        throw RuntimeError(RuntimeError::PrinterError);
    ended.push_back(pending);
    pending.clear();
}

void ScriptedPrinter::killDoc() {
    ++killed;
    pending.clear();
}

QString PrintingDateText(const QDate& date) {
    // The run's regional format is Qt's default locale.
    return QLocale().toString(date, QStringLiteral("dddd dd MMMM yyyy"));
}

QString PrintingTimeText(const QTime& time) {
    return QLocale().toString(time, QStringLiteral("HH:mm"));
}

} // namespace platform
