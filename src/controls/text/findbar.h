#pragma once

#include <QAbstractScrollArea>

#include <functional>

class QLabel;
class QLineEdit;
class QsciScintilla;

// A small line at the upper right corner of a text or grid: Ctrl+F opens it, F3 and Shift+F3 go on,
// Escape closes it. What is looked for, and where, is its owner's business. Every text and grid has one, and
// few are ever opened: what it consists of is made then.
class FindBar : public QWidget {
    Q_OBJECT

public:
    explicit FindBar(QAbstractScrollArea *host);

    void open(const QString &text);
    void showMessage(const QString &message);
    QString text() const;

Q_SIGNALS:
    void opening(); // Ctrl+F was pressed; the owner may call open() with the chosen text
    void findRequested(const QString &text, bool isForward, bool isTyping);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void build();
    bool handleHostKey(QEvent *event);
    void place();
    void request(bool isForward, bool isTyping);

    QAbstractScrollArea *m_host;
    QLineEdit *m_line = nullptr; // until it is opened
    QLabel *m_message = nullptr;
};

// Gives a text box its find bar.
void addFindBar(QsciScintilla &box);
