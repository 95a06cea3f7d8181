#pragma once

#include <QString>
#include <variant>

namespace platform {

// A value that is a text or a number, or was never assigned (empty): the
// identifier being read, the in-memory settings. Adding a number converts a
// text with the locale-aware conversion; showing a number gives its default text.
class Variant {
public:
    Variant() = default;
    Variant(const QString& text) : value_(text) {}
    Variant(const char* text) : value_(QString::fromUtf8(text)) {}
    Variant(double number) : value_(number) {}

    bool isEmpty() const { return std::holds_alternative<std::monostate>(value_); }
    bool isNumber() const { return std::holds_alternative<double>(value_); }
    bool isText() const { return std::holds_alternative<QString>(value_); }

    // The value as text: empty gives "", a number its default text.
    QString toText() const;
    // The value as number: empty gives 0, a text the locale-aware conversion
    // (error 13 when it is not a number).
    double toNumber() const;

    // this + number; the result is a number.
    Variant plus(double number) const { return Variant(toNumber() + number); }

    bool operator==(const Variant& other) const { return value_ == other.value_; }

private:
    std::variant<std::monostate, QString, double> value_;
};

} // namespace platform
