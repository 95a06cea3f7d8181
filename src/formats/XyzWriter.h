#pragma once

#include <QString>

struct CommandContext;

// Writes every point of the store as an XYZ line; reports its own errors
// ("Erreur n° ..."), progress on the count label.
void WriteXyzFile(CommandContext& context, const QString& fileName);
