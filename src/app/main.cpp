#include "app/Form1.h"
#include "dialogs/parameters/ParametersCommand.h"
#include "editing/EditingCommands.h"
#include "editing/NumberingCommands.h"
#include "platform/NumberText.h"
#include "platform/QtDialogs.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tovalin"));
    QApplication::setOrganizationName(QStringLiteral("Tovalin"));
    platform::installRegionalFormat();

    // Qt's own dialogs in French.
    QTranslator qtTranslator;
    if (qtTranslator.load(QLocale(QLocale::French, QLocale::France), QStringLiteral("qtbase"),
                          QStringLiteral("_"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtTranslator);

    platform::QtMessageBoxService messages;
    platform::QtInputBoxService input;
    platform::QtFileDialogService files;
    platform::IniSettingsStore settings;
    GestionDonnee state;

    Form1 window(state, Services{messages, input, files, settings});
    InstallParameterCommands(window);
    InstallEditingCommands(window);
    InstallNumberingAndFormatCommands(window);
    messages.setParent(&window);
    input.setParent(&window);
    files.setParent(&window);
    window.LoadMainWindow(QCoreApplication::applicationDirPath());
    window.show();

    // Files named on the command line are added one after the other.
    QStringList named = QApplication::arguments();
    named.removeFirst();
    window.OpenFiles(named);

    return QApplication::exec();
}
