#pragma once

#include "controls/text/sqltextbox.h"

// A box for statements: a file or text dropped on it replaces what it holds.
class StatementBox : public SqlTextBox {
    Q_OBJECT

public:
    explicit StatementBox(QWidget *parent = nullptr)
        : SqlTextBox(parent)
    {
    }

    // As setContents(), but what stood there comes back by undo.
    void replaceContents(const QString &text);

Q_SIGNALS:
    // A dropped file could not be read; in the system's words.
    void refused(const QString &description);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    // A dropped file.
    virtual void load(const QString &path);
};
