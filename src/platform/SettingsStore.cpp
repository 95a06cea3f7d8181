#include "platform/SettingsStore.h"

#include "platform/Dialogs.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSettings>
#include <QStringList>
#include <atomic>
#include <sys/stat.h>

namespace platform {

namespace {

// QSettings reads an unquoted ';' as the start of a comment and an unquoted
// ',' as a list separator, so a file edited by hand ("Separateur_Lec=;") would
// lose its value. Values are therefore read from the file with the same
// escapes QSettings writes, but every other character taken literally.

int hexValue(QChar c) {
    const char16_t u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

// Section and key names: QSettings writes other than ASCII as %XX or %UXXXX
// and '/' as '\'; a hand-written file has the characters themselves.
QString unescapedKey(QStringView raw) {
    QString key;
    key.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QChar c = raw[i];
        if (c == u'%') {
            const bool wide = i + 1 < raw.size() && raw[i + 1] == u'U';
            const qsizetype digits = wide ? 4 : 2;
            const qsizetype first = wide ? i + 2 : i + 1;
            int code = 0;
            bool ok = first + digits <= raw.size();
            for (qsizetype k = 0; ok && k < digits; ++k) {
                const int h = hexValue(raw[first + k]);
                ok = h >= 0;
                code = code * 16 + h;
            }
            if (ok) {
                key.append(QChar(char16_t(code)));
                i = first + digits - 1;
                continue;
            }
        }
        key.append(c == u'\\' ? QChar(u'/') : c);
    }
    return key;
}

QString unescapedValue(QStringView raw) {
    QString value;
    value.reserve(raw.size());
    qsizetype i = 0;
    const qsizetype n = raw.size();
    while (i < n) {
        const QChar c = raw[i];
        if (c == u'"') {
            ++i; // quotes only protect what they enclose
            continue;
        }
        if (c != u'\\' || i + 1 == n) {
            value.append(c);
            ++i;
            continue;
        }
        const QChar e = raw[i + 1];
        i += 2;
        switch (e.unicode()) {
        case 'a':
            value.append(QChar(7));
            break;
        case 'b':
            value.append(QChar(8));
            break;
        case 'f':
            value.append(QChar(12));
            break;
        case 'n':
            value.append(QChar(10));
            break;
        case 'r':
            value.append(QChar(13));
            break;
        case 't':
            value.append(QChar(9));
            break;
        case 'v':
            value.append(QChar(11));
            break;
        case '"':
        case '\'':
        case '?':
        case '\\':
            value.append(e);
            break;
        case 'x': {
            uint code = 0;
            while (i < n && hexValue(raw[i]) >= 0)
                code = code * 16 + uint(hexValue(raw[i++]));
            value.append(QChar(char16_t(code)));
            break;
        }
        default:
            if (e >= u'0' && e <= u'7') {
                uint code = e.unicode() - '0';
                while (i < n && raw[i] >= u'0' && raw[i] <= u'7')
                    code = code * 8 + (raw[i++].unicode() - '0');
                value.append(QChar(char16_t(code)));
            } else {
                // Not an escape: a hand-written backslash stays.
                value.append(u'\\');
                value.append(e);
            }
        }
    }
    // QSettings protects a leading '@' by doubling it.
    if (value.startsWith(QLatin1String("@@")))
        value.remove(0, 1);
    return value;
}

QStringView trimmedBlanks(QStringView text) {
    qsizetype b = 0, e = text.size();
    while (b < e && (text[b] == u' ' || text[b] == u'\t'))
        ++b;
    while (e > b && (text[e - 1] == u' ' || text[e - 1] == u'\t'))
        --e;
    return text.mid(b, e - b);
}

// The QSettings key of a section and key; [General] holds the top-level keys.
QString settingsKey(const QString& section, const QString& key) {
    if (section.isEmpty() || section == QLatin1String("General"))
        return key;
    return section + u'/' + key;
}

// Every value of the file by its QSettings key; a later line wins.
QHash<QString, QString> parseIniFile(const QString& fileName) {
    QHash<QString, QString> values;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return values;
    QString text = QString::fromUtf8(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    QString section;
    for (QStringView line : QStringView(text).tokenize(u'\n')) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        line = trimmedBlanks(line);
        if (line.isEmpty() || line.front() == u';')
            continue;
        if (line.front() == u'[') {
            const qsizetype close = line.indexOf(u']');
            section = unescapedKey(trimmedBlanks(line.mid(1, close < 0 ? -1 : close - 1)));
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0)
            continue;
        const QString key = unescapedKey(trimmedBlanks(line.left(equals)));
        if (key.isEmpty())
            continue;
        values.insert(settingsKey(section, key),
                      unescapedValue(trimmedBlanks(line.mid(equals + 1))));
    }
    return values;
}

// A value as QSettings gives it: an unquoted list comes back joined.
QString settingsText(const QVariant& value) {
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(u',');
    return value.toString();
}

// Bumped by every write of any store of this process, so that another store
// reading the same file takes the change in even within one clock tick.
std::atomic<unsigned> writesInProcess{0};

// What tells one state of the file from another: asked for every value read,
// so it is one system call, no Qt object.
struct FileStamp {
    bool exists = false;
    struct timespec modified {};
    off_t size = -1;
    ino_t inode = 0;
    dev_t device = 0;
    unsigned writes = 0;

    static FileStamp of(const QByteArray& path) {
        FileStamp stamp;
        stamp.writes = writesInProcess.load(std::memory_order_acquire);
        struct stat info;
        if (::stat(path.constData(), &info) == 0) {
            stamp.exists = true;
            stamp.modified = info.st_mtim;
            stamp.size = info.st_size;
            stamp.inode = info.st_ino;
            stamp.device = info.st_dev;
        }
        return stamp;
    }
    bool operator==(const FileStamp& other) const {
        return exists == other.exists && modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec && size == other.size &&
               inode == other.inode && device == other.device && writes == other.writes;
    }
};

} // namespace

struct IniSettingsStore::Impl {
    QSettings settings{QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Tovalin"),
                       QStringLiteral("Tovalin")};
    QByteArray path = QFile::encodeName(settings.fileName());
    // The file's values, read again whenever the file changes.
    mutable QHash<QString, QString> values;
    mutable bool loaded = false;
    mutable FileStamp stamp;
    // The last key asked for and its place: loops ask for the same setting
    // again and again (the XYZ writer, for every point).
    mutable QString lastSection, lastKey;
    mutable const QString* lastValue = nullptr;
    mutable bool lastFound = false;
    // Where a failed write is told, once.
    MessageBoxService* messages = nullptr;
    bool failureReported = false;

    void refresh() const {
        const FileStamp now = FileStamp::of(path);
        if (!loaded || !(now == stamp)) {
            values = parseIniFile(settings.fileName());
            stamp = now;
            loaded = true;
            lastSection.clear();
            lastKey.clear();
            lastValue = nullptr;
            lastFound = false;
        }
    }
};

IniSettingsStore::IniSettingsStore() : impl_(new Impl) {
    // Only this file: what the program and the converter read must be the same.
    impl_->settings.setFallbacksEnabled(false);
}

IniSettingsStore::~IniSettingsStore() {
    delete impl_;
}

QString IniSettingsStore::value(const QString& section, const QString& key,
                                const QString& defaultValue) const {
    Impl& d = *impl_;
    d.refresh();
    if (d.lastValue == nullptr || section != d.lastSection || key != d.lastKey) {
        const auto found = d.values.constFind(settingsKey(section, key));
        d.lastFound = found != d.values.constEnd();
        d.lastValue = d.lastFound ? &found.value() : nullptr;
        d.lastSection = section;
        d.lastKey = key;
        if (!d.lastFound) {
            // Remembered as absent; the default is the caller's.
            static const QString absent;
            d.lastValue = &absent;
        }
    }
    return d.lastFound ? *d.lastValue : defaultValue;
}

void IniSettingsStore::setValue(const QString& section, const QString& key, const QString& value) {
    QSettings& settings = impl_->settings;
    settings.sync(); // takes in changes made by hand or by another process
    // QSettings rewrites the whole file: first give it the hand-written values
    // it would read differently, so that they are written back quoted, intact.
    const QHash<QString, QString> fileValues = parseIniFile(settings.fileName());
    for (auto it = fileValues.cbegin(); it != fileValues.cend(); ++it) {
        if (settingsText(settings.value(it.key())) != it.value())
            settings.setValue(it.key(), it.value());
    }
    settings.setValue(settingsKey(section, key), value);
    // Written at once: the command-line converter reads the same file.
    settings.sync();
    impl_->loaded = false;
    if (settings.status() != QSettings::NoError && impl_->messages != nullptr &&
        !impl_->failureReported) {
        impl_->failureReported = true;
        impl_->messages->show(writeFailureText(QDir::toNativeSeparators(fileName())),
                              MsgButtons::Ok, MsgIcon::Critical);
    }
    writesInProcess.fetch_add(1, std::memory_order_acq_rel);
}

QString IniSettingsStore::fileName() const {
    return impl_->settings.fileName();
}

void IniSettingsStore::reportWriteFailuresTo(MessageBoxService& messages) {
    impl_->messages = &messages;
}

QString IniSettingsStore::writeFailureText(const QString& fileName) {
    return QStringLiteral("Les réglages n'ont pas pu être enregistrés dans le fichier ") +
           fileName +
           QStringLiteral(" (fichier ou dossier protégé en écriture, ou disque plein).\r\n"
                          "Les changements faits pendant cette session ne seront pas retrouvés "
                          "au prochain démarrage.");
}

} // namespace platform
