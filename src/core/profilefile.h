#pragma once

#include <QString>
#include <QStringList>

// A profile file: "[section]" lines, "key=value" lines. Whatever it does not know (comments, other
// sections, blank lines, their order) is kept. Sections and keys compare without regard to case.
class ProfileFile {
public:
    // A file that is missing, unreadable or damaged reads as far as it makes sense; never throws.
    explicit ProfileFile(QString path);

    // The text after the first "=", blanks at both ends dropped; empty when there is none.
    QString value(const QString &section, const QString &key) const;
    // What follows a line break in the value is not written: the format cannot hold it.
    void setValue(const QString &section, const QString &key, const QString &value);

    // Written beside the file and renamed over it, so that no half file is ever left. Returns the
    // system's own words when it failed, else an empty text.
    QString save() const;

private:
    qsizetype sectionLine(const QString &section) const; // -1: none
    qsizetype keyLine(const QString &section, const QString &key) const;

    QString m_path;
    QStringList m_lines;
};
