#include "cli/Converter.h"
#include "platform/NumberText.h"
#include "platform/SettingsStore.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tovalin"));
    QCoreApplication::setOrganizationName(QStringLiteral("Tovalin"));
    platform::installRegionalFormat();
    platform::IniSettingsStore settings;
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    return RunConverter(arguments, settings, stdout, stderr);
}
