#pragma once

#include "sheets/sheetfile.h"

#include <QLockFile>
#include <QString>

#include <memory>
#include <vector>

// What a sheet holds while it is open, run or not, saved or not.
struct SheetContents {
    QString name;                               // shown while there is no file
    QString path;                               // of its file; empty: none
    QString text;                               // line ends as in the file
    bool isChanged = false;                     // from what the file holds
    FileEncoding encoding = FileEncoding::Utf8; // of the file
    int cursor = 0;                             // in bytes
};

// One sheet's file in the folder of drafts, for its owner alone: written as the sheet is, so that nothing is
// lost with the program. As long as it lives no other program opens it.
class Draft {
public:
    // A new one.
    explicit Draft(const QString &folder);
    ~Draft();
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    // The system's own words where it failed; what was saved before stands still then.
    QString save(const SheetContents &contents);
    // The sheet was closed by its user.
    void remove();
    const SheetContents &contents() const { return m_contents; }

    // Those of earlier starts that no program has open, in the order in which they were made.
    static std::vector<std::unique_ptr<Draft>> left(const QString &folder);

private:
    explicit Draft(QString path, std::unique_ptr<QLockFile> lock);
    bool read();

    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
    SheetContents m_contents;
};
