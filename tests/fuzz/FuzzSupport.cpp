#include "FuzzSupport.h"

#include "state/Startup.h"

#include <QDir>
#include <QLocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzz {

void Fail(const char* what, const QString& detail) {
    std::fprintf(stderr, "fuzz check failed: %s\n  %s\n", what, detail.toUtf8().constData());
    std::fflush(stderr);
    std::abort();
}

ScratchFile::ScratchFile(const char* suffix)
    : file_((QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                       : QDir::tempPath()) +
            QStringLiteral("/tovalin-fuzz-XXXXXX") + QLatin1String(suffix)) {
    if (!file_.open())
        Fail("scratch file made", file_.fileTemplate());
}

QString ScratchFile::write(const std::uint8_t* data, std::size_t size) {
    if (!file_.resize(0) || !file_.seek(0) ||
        file_.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size) ||
        !file_.flush())
        Fail("scratch file written", file_.fileName());
    return file_.fileName();
}

Session::Session() {
    boxes.setThrowOnUnexpected(false);
    reloadSettings();
}

void Session::reloadSettings() {
    LoadSettings(state.Settings, settings);
}

CommandContext Session::context() {
    return CommandContext{state, boxes, boxes, files, settings, window, progress};
}

void SetRegionalFormat(bool french) {
    static const QLocale kFrench(QLocale::French, QLocale::France);
    static const QLocale kEnglish(QLocale::English, QLocale::UnitedStates);
    QLocale::setDefault(french ? kFrench : kEnglish);
}

bool SameDouble(double a, double b) {
    if (a != a || b != b)
        return a != a && b != b;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

QString Describe(const PointRecord& p) {
    return QStringLiteral("%1|%2|%3|%4")
        .arg(p.Matricule, platform::DefaultText(p.X), platform::DefaultText(p.Y),
             platform::DefaultText(p.Z));
}

} // namespace fuzz
