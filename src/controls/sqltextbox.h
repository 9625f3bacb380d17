#pragma once

#include <Qsci/qsciscintilla.h>

// A text of several lines in SQL: highlighting, undo, find with Ctrl+F, Japanese input.
class SqlTextBox : public QsciScintilla {
    Q_OBJECT

public:
    explicit SqlTextBox(QWidget *parent = nullptr);

    void showLineNumbers(bool isOn);
    // Line ends go in as they are and come out as CR LF.
    void setContents(const QString &text);
    QString contents() const;
};
