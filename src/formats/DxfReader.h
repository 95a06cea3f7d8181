#pragma once

#include <QString>

struct CommandContext;

// Appends one point per POINT entity of a DXF file, named from Num_Pt_Dxf;
// errors are not trapped here. The file streams through a buffer of about
// bufferBytes (0: the reader's usual 4 MiB); tests make it small.
void ReadDxfFile(CommandContext& context, const QString& path, qsizetype bufferBytes = 0);
