#pragma once

#include <QStringList>

// What the sheets keep in the settings file. Where that cannot be written, it costs that and nothing else.
class SheetSettings {
public:
    explicit SheetSettings(QString path)
        : m_path(std::move(path))
    {
    }

    bool isOn(const QString &key, bool standard) const;
    int number(const QString &key, int standard) const;
    void keep(const QString &key, int value) const;
    // Files that were opened or saved last, the newest first.
    QStringList recent() const;
    void noteRecent(const QString &path) const;

private:
    void set(const QString &key, const QString &value) const;

    const QString m_path;
};
