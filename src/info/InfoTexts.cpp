#include "info/InfoTexts.h"

#include "platform/NumberText.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QStringList>
#include <QSysInfo>
#include <unistd.h>

namespace {

const QString crlf = QStringLiteral("\r\n");

QString threeNumbers(platform::ProgramVersion version) {
    using platform::DefaultText;
    return DefaultText(version.major) + QLatin1Char('.') + DefaultText(version.minor) +
           QLatin1Char('.') + DefaultText(version.revision);
}

unsigned long long physicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<unsigned long long>(pages) * static_cast<unsigned long long>(pageSize);
}

} // namespace

QString SplashVersionText(platform::ProgramVersion version) {
    return QStringLiteral("Version ") + threeNumbers(version);
}

QString AboutVersionText(platform::ProgramVersion version) {
    return QStringLiteral("Version ") + threeNumbers(version) +
           QStringLiteral(" du 14 novembre 2004");
}

QString AuthorLine() {
    return QStringLiteral("Conçu et écrit par l'équipe Tovalin");
}

QString AboutNotice(const QString& supportAddress) {
    // The spellings of the quoted lines are the program's own.
    const QStringList lines{
        QStringLiteral("Ce logiciel est un logiciel libre : il peut être copié et"),
        QStringLiteral("distribué gratuitement à condition de fournir tous ses"),
        QStringLiteral("fichiers. Il reste la propriété de son auteur."),
        QStringLiteral("Ce logiciel est livré \"Tel quel\""),
        QStringLiteral("En aucun cas la résponsabilité de l'auteur ne pourra"),
        QStringLiteral("être mise en cause pour les dysfonctionnement"),
        QStringLiteral("que ce logiciel pourrait causer."),
        QStringLiteral("Pour toutes informations ou problèmes"),
        QStringLiteral("contactez moi par email à : ") + supportAddress,
    };
    return lines.join(crlf);
}

QString HistoryText(const QString& fileName) {
    QString text;
    try {
        platform::LineReader reader(fileName);
        while (!reader.atEnd())
            text += reader.readLine() + crlf;
    } catch (const platform::RuntimeError&) {
        // Trapped: the window shows what was read so far, and no message.
    }
    return text;
}

QString UpdatePageAddress() {
    return QStringLiteral("https://www.example.org/tovalin/mise-a-jour.html");
}

QString SystemReport(const QString& systemName, const QString& systemVersion,
                     unsigned long long memoryBytes) {
    const double megabytes = static_cast<double>(memoryBytes / (1024ULL * 1024ULL));
    return QStringLiteral("Système : ") + systemName + QStringLiteral(" (version ") +
           systemVersion + QStringLiteral(")") + crlf + QStringLiteral("Mémoire : ") +
           platform::DefaultText(megabytes) + QStringLiteral(" Mo");
}

QString SystemReport() {
    return SystemReport(QSysInfo::prettyProductName(), QSysInfo::kernelVersion(), physicalMemory());
}

QString MailBody(const QString& message, const QString& systemReport) {
    // The text box gives bare line feeds; the message goes with CR LF.
    QString text = message;
    text.replace(crlf, QStringLiteral("\n"));
    text.replace(QLatin1Char('\n'), crlf);
    return text + crlf + crlf + QStringLiteral("--") + crlf + systemReport;
}

QString NoMailProgramText(const QString& supportAddress) {
    return QStringLiteral("Aucun programme de messagerie n'a répondu : le message n'a pas été "
                          "envoyé.") +
           crlf +
           QStringLiteral("Il est resté dans la fenêtre. Copiez-le et envoyez-le depuis votre "
                          "messagerie à l'adresse ") +
           supportAddress + QStringLiteral(".");
}

QUrl MailtoAddress(const QString& recipient, const QString& subject, const QString& body) {
    // Built by hand: the query's "&" and "=" must stay delimiters while the
    // same characters inside the subject or the body are escaped. Line breaks
    // go as %0D%0A, which mail programs expect in a mailto: body.
    QByteArray address = "mailto:" + QUrl::toPercentEncoding(recipient, "@");
    address += "?subject=" + QUrl::toPercentEncoding(subject);
    address += "&body=" + QUrl::toPercentEncoding(body);
    return QUrl::fromEncoded(address, QUrl::StrictMode);
}
