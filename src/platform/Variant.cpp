#include "platform/Variant.h"

#include "platform/NumberText.h"

namespace platform {

QString Variant::toText() const {
    if (const auto* text = std::get_if<QString>(&value_))
        return *text;
    if (const auto* number = std::get_if<double>(&value_))
        return DefaultText(*number);
    return QString();
}

double Variant::toNumber() const {
    if (const auto* text = std::get_if<QString>(&value_))
        return CDbl(*text);
    if (const auto* number = std::get_if<double>(&value_))
        return *number;
    return 0.0;
}

} // namespace platform
