#pragma once

#include <QMessageBox>

#include <deque>
#include <functional>
#include <optional>

class QDialog;
class QFileDialog;

// Answers the modal boxes of a test in the order expected, word for word. A box that is not the next one
// expected fails the test and is closed, an expected one that never comes fails it at the end: nothing hangs.
class Boxes : public QObject {
    Q_OBJECT

public:
    Boxes();
    ~Boxes() override;

    void expect(const QString &text, QMessageBox::StandardButton answer);
    void expectOk(const QString &text) { expect(text, QMessageBox::Ok); }
    // A file or folder dialog: chooses the path; an empty path cancels.
    void expectFile(const QString &path);
    // Any other dialog, by its object name. `use` must bring it to an end (press OK, reject it).
    void expectDialog(const QString &objectName, std::function<void(QDialog &)> use);

    // From now on, what is not expected is agreed to: OK or yes, of several choices the one that goes on; a
    // file dialog gets the path, another dialog what `use` does with it.
    void agree(const QString &path = {}, std::function<void(QDialog &)> use = {});
    // Leaves the boxes that come to the test itself.
    void setPaused(bool isPaused) { m_isPaused = isPaused; }
    // "title|text" of each message box that came, in order.
    const QStringList &seen() const { return m_seen; }

private:
    struct Expected {
        enum Kind { Message, File, Dialog } kind;
        QString text; // the message, the path or the object name
        QMessageBox::StandardButton answer = QMessageBox::NoButton;
        std::function<void(QDialog &)> use;
    };

    void look();
    bool answer(QDialog &dialog, const Expected &expected);

    bool agreeTo(QDialog &dialog);

    std::deque<Expected> m_expected;
    std::optional<Expected> m_agreed;
    QStringList m_seen;
    bool m_isPaused = false;
};

// An empty path cancels. Whether the dialog took it.
bool chooseFile(QFileDialog &dialog, const QString &path);

// Any Qt warning until the end of the running test function fails it. Called first in a test function or
// in init().
void failOnAnyWarning();

// The user closes a window by its frame, which is not the same as the program closing it.
void closeByUser(QWidget &window);
