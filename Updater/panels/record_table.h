#pragma once

#include <QStringList>

class QTableWidget;
struct DN_FILE_STRUCT;

/// What the pages do alike with their tables of records: column 0 is an item of RecordItem with the
/// label and, under Qt::UserRole, the record's pointer as a void*; column 1 shows its status_text.
namespace RecordTable {

enum ItemType { RecordItem = 101, StatusItem = 102 };

/// " [1.5 MB]": a size in decimal units, in front of it one blank; empty for 0 bytes and below.
QString SizeSuffix(qint64 bytes);

/// Makes one column for each label; there must be two at least.
void SetLabels(QTableWidget *table, const QStringList &labels);

/// Appends a row of a text and a record; \a record may be null.
void AppendRow(QTableWidget *table, const QString &text, DN_FILE_STRUCT *record);

/// Appends a row of a label with its record's size, and writes the record's display_name;
/// \a record may be null.
void AddRow(QTableWidget *table, const QString &label, DN_FILE_STRUCT *record);

/// The record of a row; null for a row without one and for a row that isn't there.
DN_FILE_STRUCT *Record(const QTableWidget *table, int row);

/// The first row of \a record, or -1.
int MatchingRow(const QTableWidget *table, DN_FILE_STRUCT *record);

/// Brings column 1 in line with the records; writes only what has changed.
void UpdateStatus(QTableWidget *table);

/// Shares the table's width among two or three columns; the last one stretches.
void SetColumnWidths(QTableWidget *table);

} // namespace RecordTable
