#pragma once

#include <QString>
#include <QStringList>

// A profile file: "[section]" lines, "key=value" lines. Whatever it does not know (comments, other
// sections, blank lines, their order) is kept. Sections and keys compare without regard to case.
class ProfileFile {
public:
    // A file that is missing or damaged reads as far as it makes sense; never throws.
    explicit ProfileFile(QString path);

    // Why the file was neither read nor will be written; empty when it was.
    const QString &refusal() const { return m_refusal; }

    // The text after the first "=", blanks at both ends dropped; empty when there is none.
    QString value(const QString &section, const QString &key) const;
    bool holds(const QString &section, const QString &key) const { return keyLine(section, key) >= 0; }
    // What follows a line break in the value is not written: the format cannot hold it.
    void setValue(const QString &section, const QString &key, const QString &value);

    // Written beside the file and renamed over it, so that no half file is ever left; for its owner alone.
    // Returns the system's own words or the refusal when it failed, else an empty text.
    QString save() const;

private:
    qsizetype sectionLine(const QString &section) const; // -1: none
    qsizetype keyLine(const QString &section, const QString &key) const;

    QString m_path, m_refusal;
    QStringList m_lines;
};
