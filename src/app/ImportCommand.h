#pragma once

#include <QString>

struct CommandContext;
namespace importing {
struct ImportOptions;
struct ImportReport;
} // namespace importing

// The import window's "Ok": adds another program's survey file to the list
// as "Ouvrir" adds a file once it is chosen: the same question when points
// are listed (Cancel: nothing changes, false), the loading caption, the
// header row, the current names, the caption, the count label and the list.
bool ImportSurveyFile(CommandContext& context, const QString& fileName,
                      const importing::ImportOptions& options, importing::ImportReport* report);
