#pragma once

#include <QString>
#include <exception>

namespace platform {

// The run-time error of the program: a number and its French description.
// Anything a command does not trap travels up as this exception to the one
// handler that shows the report (or, in the converter, prints it).
class RuntimeError : public std::exception {
public:
    enum Code {
        InvalidCall = 5,
        Overflow = 6,
        SubscriptOutOfRange = 9,
        TypeMismatch = 13,
        BadFileName = 52,
        FileNotFound = 53,
        DeviceIo = 57,
        DiskFull = 61,
        InputPastEnd = 62,
        PermissionDenied = 70,
        PathFileAccess = 75,
        PathNotFound = 76,
        ObjectRequired = 424,
        PrinterError = 482,
    };

    explicit RuntimeError(int number);
    RuntimeError(int number, QString description);

    int number() const { return number_; }
    const QString& description() const { return description_; }
    const char* what() const noexcept override;

    // The French description of a known error number ("" for others).
    static QString descriptionOf(int number);

    // The report the event loop shows: "Erreur d'exécution 'N' :", an empty
    // line, then the description.
    QString reportText() const;

private:
    int number_;
    QString description_;
    QByteArray what_;
};

} // namespace platform
