#include "app/CommandLine.h"
#include "app/Form1.h"
#include "app/frmImport.h"
#include "dialogs/parameters/ParametersCommand.h"
#include "editing/EditingCommands.h"
#include "editing/NumberingCommands.h"
#include "info/InfoCommands.h"
#include "info/InfoWindows.h"
#include "platform/CommandRunner.h"
#include "platform/CupsPrinter.h"
#include "platform/GuardedApplication.h"
#include "platform/NumberText.h"
#include "platform/QtDialogs.h"
#include "platform/QtShell.h"
#include "platform/SettingsStore.h"
#include "printing/PrintingCommands.h"
#include "state/GestionDonnee.h"
#include "viewer/ViewerCommands.h"

int main(int argc, char** argv) {
    // Answered before anything needs a display.
    if (const std::optional<int> status = AnswerWithoutWindow(argc, argv, stdout))
        return *status;
    platform::GuardedApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tovalin"));
    QApplication::setOrganizationName(QStringLiteral("Tovalin"));
    platform::installRegionalFormat();
    // Qt has taken its own options out of the arguments by now.
    QStringList arguments = QApplication::arguments();
    arguments.removeFirst();
    const ProgramFiles named = ParseProgramArguments(arguments);
    if (!named.error.isEmpty()) {
        std::fputs(named.error.toLocal8Bit().constData(), stderr);
        return 2;
    }

    // Qt's own dialogs in French, whatever the system's language.
    platform::InstallQtFrenchTranslation(app);

    platform::QtMessageBoxService messages;
    platform::QtInputBoxService input;
    platform::QtFileDialogService files;
    platform::IniSettingsStore settings;
    platform::QtShell shell;
    platform::CupsPrinter printer;
    GestionDonnee state;

    Form1 window(state, Services{messages, input, files, settings});
    InstallParameterCommands(window);
    InstallEditingCommands(window);
    InstallNumberingAndFormatCommands(window);
    InstallInfoCommands(window, shell, QCoreApplication::applicationDirPath());
    InstallViewerCommands(window);
    InstallPrintingCommands(window, printer);
    messages.setParent(&window);
    app.setMessages(&messages);
    settings.reportWriteFailuresTo(messages);
    input.setParent(&window);
    files.setParent(&window);
    // The splash first; its timer loads and shows the main window, and the
    // files named on the command line are then added one after the other.
    frmIntro splash(platform::Guarded(messages, [&window, named] {
        window.LoadMainWindow(QCoreApplication::applicationDirPath());
        window.show();
        window.OpenFiles(named.open);
        ShowImportWindows(window, named.import);
    }));
    splash.show();

    return QApplication::exec();
}
