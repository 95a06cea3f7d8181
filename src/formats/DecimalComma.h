#pragma once

#include <QString>

// The decimal-comma conversions of the readers, the DXF writer and the point
// editor: only the first "," or "." changes, whatever follows it.

// The first "," made "." (for reading with Val, and for DXF coordinates).
QString CommaToPoint(const QString& text);
// The first "." made "," (for the editor's fields).
QString PointToComma(const QString& text);
