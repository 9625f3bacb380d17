#pragma once

#include "controls/text/statementbox.h"
#include "core/sql/splitter.h"

#include <vector>

// A sheet's text: shows which statement the cursor is in and on which line one failed. Places are bytes of
// its UTF-8.
class SheetEditor : public StatementBox {
    Q_OBJECT

public:
    explicit SheetEditor(QWidget *parent = nullptr);

    QByteArray bytes() const;
    int cursorPlace() const;
    void setCursorPlace(int place);
    // Start and end of what is chosen; the same: nothing is.
    std::pair<int, int> selection() const;
    int lineOf(int place) const;
    // Replaces a part; one step for undo.
    void replace(int start, int end, const QByteArray &text);
    // In the place of what is chosen, or at the cursor: beside what stands there a statement of its own.
    void insertStatement(const QString &text);

    // From 0. The mark goes with the next change of the text.
    void markError(int line);
    void clearError();
    // As the server now reads the text.
    void setMode(SqlMode mode);
    SqlMode mode() const { return m_mode; }
    std::vector<ScriptPiece> pieces(std::string_view text) const { return scriptPieces(text, m_mode); }

Q_SIGNALS:
    void fileDropped(const QString &path);

protected:
    void load(const QString &path) override { Q_EMIT fileDropped(path); }
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void colourMarks();
    void colourQuotes();
    void markStatement();

    int m_errorMark, m_statementMark;
    QTimer *m_later;
    SqlMode m_mode;
};
