#pragma once

#include <QString>

/// The most bytes that the file of a description, or of a picture in it, may have to be shown.
const qint64 kMostDescriptionBytes = 10000000;

/// Cuts from a description what Qt would lay out for minutes while the window waits for it:
/// large spans, and tables deep in each other. False if it is too long to be laid out.
///
/// It stops the accidents, like a "colspan=1000" that means all columns, and not an author who
/// wants to freeze the window and finds a spelling for it: who can write a description can also
/// write the script that the user installs.
bool CutForLayout(QString &html);
