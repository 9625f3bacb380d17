#pragma once

#include "core/sql/recordset.h"

#include <QWidget>

#include <string>
#include <string_view>

class QLabel;
class QTabWidget;
class ResultTextBox;

// A window that shows one cell's whole value: as text, as bytes in hexadecimal, as a picture if it is one.
class CellViewer : public QWidget {
    Q_OBJECT

public:
    explicit CellViewer(QWidget *window);

    // The value is copied. rowNumber counts from 1 and only names the cell.
    void showValue(const Field &field, const Cell &value, int rowNumber);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void copyValue() const;
    void showPicture();

    std::string m_value; // as the server words it
    std::string m_bytes; // what it stands for: hex digits of a binary column as the bytes they mean
    QLabel *m_summary;
    QTabWidget *m_tabs;
    ResultTextBox *m_text;
    ResultTextBox *m_hex;
    QLabel *m_picture;
};

// Lines of 16 bytes: offset, hexadecimal, readable characters.
std::string hexDump(std::string_view bytes);
// The bytes that "0x4a4B" stands for; anything else stays as it is.
std::string bytesOfLiteral(std::string_view text);
// Breaks lines longer than `most` characters, for showing only: an editor lays out whole lines, and one of
// a megabyte would stall it.
std::string withShortLines(std::string_view utf8, std::size_t most);
