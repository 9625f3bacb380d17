#pragma once

#include "controls/scintilla.h"

#include <functional>
#include <string_view>

// A read-only text that may be very large: no style bytes, no undo, no highlighting; find with Ctrl+F.
class ResultTextBox : public QsciScintilla {
    Q_OBJECT

public:
    explicit ResultTextBox(QWidget *parent = nullptr);

    void clearText();
    void setWholeText(std::string_view utf8);
    using Take = std::function<void(std::string_view utf8)>;
    // Replaces the text by what `produce` gives to its argument, `bytes` in all. It works on a thread of its
    // own and touches no widget; `yield` is called every few milliseconds until it has ended. What it throws
    // comes out here. The new text appears when it is whole.
    void produceText(std::size_t bytes, const std::function<void(const Take &)> &produce,
                     const std::function<void()> &yield);
    qint64 byteCount() const;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

private:
    void appendUtf8(std::string_view utf8);
    void showDocument(void *document);

    int m_generation = 0; // of the text, told apart by clearText()
};
