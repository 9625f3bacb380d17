#pragma once

#include "controls/scintilla.h"

#include <functional>
#include <string>
#include <string_view>

// A read-only text that may be very large: no style bytes, no undo, no highlighting; find with Ctrl+F.
class ResultTextBox : public QsciScintilla {
    Q_OBJECT

public:
    explicit ResultTextBox(QWidget *parent = nullptr);

    void clearText();
    void setWholeText(std::string_view utf8);
    // Adds UTF-8 text at the end. `yield` is called every few milliseconds and may let window events run;
    // when these clear or fill the box anew, the rest is dropped.
    void appendInPieces(std::string_view utf8, const std::function<void()> &yield);
    // Replaces the text by pieces, each asked for when the one before is taken over; an empty one ends them.
    // `bytes` is their sum. The text appears when it is whole; `yield` is called after each piece. No copy of
    // the text is held, so pieces that are given away cost no memory twice.
    void setPieces(std::size_t bytes, const std::function<std::string()> &next,
                   const std::function<void()> &yield);
    qint64 byteCount() const;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

private:
    void append(std::string_view utf8);
    void load(std::string_view utf8, const std::function<void()> &yield);
    void showDocument(void *document);

    int m_generation = 0; // of the text, told apart by clearText()
};
