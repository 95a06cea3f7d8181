#pragma once

#include <QString>

namespace platform {

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

private:
    struct Impl;
    Impl* impl_;
};

} // namespace platform
