#pragma once

#include "transfer/csv/csvexport.h"
#include "transfer/transferwindow.h"

class FlexGrid;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QRadioButton;

// "csvExportWindow": the rows that a grid shows, or all rows of its statement, into a file.
class CsvExportWindow : public TransferWindow {
    Q_OBJECT

public:
    CsvExportWindow(Session &session, const FlexGrid &grid);

protected:
    void start() override;

private:
    struct Source;

    void fillChoices();
    void layOut();
    void takePreset();
    void browse();
    void showForm();
    ExportOptions options() const;

    const std::shared_ptr<const Source> m_source;
    const QString m_database;
    QRadioButton *m_shownRows, *m_allRows;
    QComboBox *m_form, *m_encoding, *m_separator, *m_lineEnd;
    QCheckBox *m_header, *m_quoteAll, *m_replaces;
    QLineEdit *m_nullText, *m_table, *m_path;
};
