#pragma once

#include "controls/text/scintilla.h"

// A text of several lines in SQL: highlighting, undo, find with Ctrl+F, Japanese input. Its actions() stand
// in its context menu. Tab indents; Ctrl+Tab and Ctrl+Shift+Tab leave the box, and Escape is its window's.
class SqlTextBox : public QsciScintilla {
    Q_OBJECT

public:
    explicit SqlTextBox(QWidget *parent = nullptr);

    void showLineNumbers(bool isOn);
    // Line ends go in as they are and come out as CR LF.
    void setContents(const QString &text);
    QString contents() const;

    void setReadOnly(bool isReadOnly) override;

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

private:
    void buildLexer();
    void colour();
    void fitLineNumbers();

    bool m_hasLineNumbers = false;
};
