#pragma once

#include "transfer/csv/csvimport.h"
#include "transfer/transferwindow.h"

class FlexGrid;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QTableWidget;

// "csvImportWindow": a file of separated values into a table, looked at before anything is sent.
class CsvImportWindow : public TransferWindow {
    Q_OBJECT

public:
    // Into the table, or, when none is chosen, into a new one.
    CsvImportWindow(Session &session, const QString &table);

protected:
    void start() override;

private:
    struct TableColumn {
        QString name, type;
        bool isGenerated = false;
    };

    void fillChoices();
    void connectChoices();
    void layOut();
    void browse();
    void showLocal();
    void readColumns();
    void look();
    void preview();
    void showRows();
    bool isNull(const CsvField &field) const;
    void fillMapping(const QStringList &fileColumns);
    void checkTypes();
    CsvFormat format() const;
    std::vector<ImportColumn> mapping() const;

    const QString m_database, m_table;
    std::vector<TableColumn> m_columns; // of the table
    std::vector<CsvRow> m_rows;         // of the preview, the header left out
    QStringList m_fileColumns;
    QLineEdit *m_path, *m_nullText, *m_newTable;
    QComboBox *m_encoding, *m_separator, *m_duplicates, *m_errors;
    QCheckBox *m_header, *m_local;
    FlexGrid *m_preview;
    QTableWidget *m_mapping;
    QLabel *m_checks;
};
