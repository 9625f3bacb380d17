#pragma once

#include "controls/grid/jsontext.h"
#include "core/sql/recordset.h"

#include <QWidget>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

class JsonTree;
class QComboBox;
class QLabel;
class QPushButton;
class QTabWidget;
class ResultTextBox;
class ValueTextBox;

// A window that shows one cell's whole value: as text, as bytes in hexadecimal, as a picture or JSON if it is
// one.
class CellViewer : public QWidget {
    Q_OBJECT

public:
    explicit CellViewer(QWidget *window);

    // The value is copied. rowNumber counts from 1 and only names the cell.
    void showValue(const Field &field, const Cell &value, int rowNumber);
    // Who takes the bytes of a file as the value: an empty text when it did, else why not. Null: nobody, as
    // after each showValue().
    using Load = std::function<QString(const QByteArray &bytes)>;
    void offerLoading(const Load &load);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    enum Tab { TextTab, HexTab, PictureTab, JsonTab, TreeTab };

    void buildLayout();
    void connectControls();
    void copyValue() const;
    void save();
    void load();
    void showText();
    void showPicture();
    void showJson();
    void fillTab(int tab);
    void readJson();
    struct ReadJson;
    void takeJson(ReadJson &read);
    void showSummary();

    std::string m_value; // as the server words it
    std::string m_bytes; // what it stands for: hex digits of a binary column as the bytes they mean
    std::optional<JsonPart> m_json;                               // of m_value
    bool m_isBinary = false, m_hasHex = false, m_hasJson = false; // the last two: the tab is filled
    bool m_isReadable = true;                                     // in the character set chosen
    QString m_name;                                               // of the column
    QLabel *m_summary;
    QTabWidget *m_tabs;
    ValueTextBox *m_text;
    ResultTextBox *m_hex;
    QLabel *m_picture;
    ValueTextBox *m_formatted;
    JsonTree *m_tree;
    QComboBox *m_characterSet;
    QPushButton *m_save, *m_loadButton;
    Load m_load;
    int m_readings = 0;
    std::jthread m_reading; // of a large m_value as JSON; to be stopped before that changes
};

// Lines of 16 bytes: offset, hexadecimal, readable characters.
std::string hexDump(std::string_view bytes);
// The bytes that "0x4a4B" stands for; anything else stays as it is.
std::string bytesOfLiteral(std::string_view text);
// 16 bytes as a UUID; swapped: as UUID_TO_BIN(..., 1) puts them.
QString uuidText(std::string_view bytes, bool isSwapped);
