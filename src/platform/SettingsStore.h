#pragma once

#include <QString>

namespace platform {

class MessageBoxService;

// The per-user settings store: sections and keys, every value a text.
class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    virtual QString value(const QString& section, const QString& key,
                          const QString& defaultValue) const = 0;
    virtual void setValue(const QString& section, const QString& key, const QString& value) = 0;
};

// QSettings in INI format, per user, organisation and application "Tovalin"
// ($XDG_CONFIG_HOME/Tovalin/Tovalin.ini on Linux).
class IniSettingsStore : public SettingsStore {
public:
    IniSettingsStore();
    ~IniSettingsStore() override;
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override;
    void setValue(const QString& section, const QString& key, const QString& value) override;

    // The file the store reads and writes.
    QString fileName() const;

    // A write that does not reach the file (a read-only file or folder, a
    // full disk) is told to the user once per run, in a box of this service;
    // without one it goes unsaid.
    void reportWriteFailuresTo(MessageBoxService& messages);
    // What that box says.
    static QString writeFailureText(const QString& fileName);

private:
    struct Impl;
    Impl* impl_;
};

} // namespace platform
