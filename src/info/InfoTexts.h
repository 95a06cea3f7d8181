#pragma once

#include "platform/Version.h"

#include <QString>
#include <QUrl>

// The texts of the information windows that need no window: the version
// lines, the about box notice, the history and the message to the author.

// "Version 2.3.0": the splash.
QString SplashVersionText(platform::ProgramVersion version);
// "Version 2.3.0 du 14 novembre 2004": the about box. The date has always
// been written out as it stands, whatever the version.
QString AboutVersionText(platform::ProgramVersion version);

// The splash's and the about box's line naming the author.
QString AuthorLine();

// The free-distribution notice of the about box, lines joined by CR LF.
QString AboutNotice(const QString& supportAddress);

// The history file read line by line, each line followed by CR LF. Errors
// are trapped: reading stops there and what was read so far is returned
// (nothing for a missing file).
QString HistoryText(const QString& fileName);

// The page where the updates are offered.
QString UpdatePageAddress();

// What goes along with every message to the author: the operating system's
// name and version and the machine's memory size, lines joined by CR LF.
QString SystemReport();
// The same from its parts (memory in bytes; 0 when unknown).
QString SystemReport(const QString& systemName, const QString& systemVersion,
                     unsigned long long memoryBytes);

// The mailto: address that opens the user's mail program on the message:
// recipient, subject and body, every character that needs it escaped.
QUrl MailtoAddress(const QString& recipient, const QString& subject, const QString& body);
// The body of the message sent: the user's text, then the system report.
QString MailBody(const QString& message, const QString& systemReport);
// What the message window says when no mail program took the message.
QString NoMailProgramText(const QString& supportAddress);
