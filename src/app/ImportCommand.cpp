#include "app/ImportCommand.h"

#include "app/FileCommands.h"

#include <QFileInfo>

bool ImportSurveyFile(CommandContext& context, const QString& fileName,
                      const importing::ImportOptions& options, importing::ImportReport* report) {
    if (!AskToAddFile(context))
        return false;
    OpenFile(context, fileName, QFileInfo(fileName).fileName(), FileFormat::Csv, &options, report);
    return true;
}
