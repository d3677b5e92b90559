#pragma once

#include "platform/capturesettings.h"

#include <QDir>
#include <QHash>
#include <QVariant>

// Screenshot-tool settings held in memory, counting reload requests.
class FakeCaptureSettings final : public CaptureSettings
{
public:
    QHash<QString, QVariant> values;
    int reloads = 0;
    bool writable = true;

    QString toolName() const override { return "Fake"; }
    bool canWrite(const QString &) const override { return writable; }
    std::optional<QString> readText(const QString &key) const override
    {
        if (!values.contains(key))
            return std::nullopt;
        return values.value(key).toString();
    }
    void writeText(const QString &key, const QString &value) override { values.insert(key, value); }
    std::optional<bool> readBool(const QString &key) const override
    {
        if (!values.contains(key))
            return std::nullopt;
        return values.value(key).toBool();
    }
    void writeBool(const QString &key, bool value) override { values.insert(key, value); }
    void remove(const QString &key) override { values.remove(key); }
    QString defaultFolder() const override { return QDir::homePath() + "/Desktop"; }
    void reload() override { ++reloads; }
};
