#pragma once

#include <QString>

struct CommandContext;

// Asks the text height, then writes every point of the store as a POINT and
// two TEXT entities; errors are not trapped here.
void WriteDxfFile(CommandContext& context, const QString& path);
