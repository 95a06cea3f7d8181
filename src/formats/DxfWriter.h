#pragma once

#include <QString>

struct CommandContext;

// The text height a reply to the height question gives: the reply with its
// first "." made ",", read in the regional format (the program was made for
// comma-decimal systems). Error 13 when it is no number (Cancel gives "").
// At 0 the writer stops before touching any file.
double DxfTextHeight(const QString& reply);

// Asks the text height, then writes every point of the store as a POINT and
// two TEXT entities; errors are not trapped here.
void WriteDxfFile(CommandContext& context, const QString& path);
