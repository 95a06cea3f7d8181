#pragma once

#include <QString>

struct CommandContext;

// Appends one point per POINT entity of a DXF file, named from Num_Pt_Dxf;
// errors are not trapped here.
void ReadDxfFile(CommandContext& context, const QString& path);
