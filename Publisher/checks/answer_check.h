#pragma once

#include "checks/http_client.h"
#include "rules.h"

class QDateTime;

// Checks of single answers. \a subject is the file's name in findings.

/// Checks what every answer with a whole file must be. False if something is wrong with it.
bool CheckAnswer(const QString &subject, const HttpAnswer &answer, Findings &findings);

/// The date of the file; invalid if a finding says why.
QDateTime CheckLastModified(const QString &subject, const HttpAnswer &answer, Findings &findings);

/// Checks the answer to the question for the bytes from \a offset on. They are in the file \a part,
/// the whole file is \a whole.
void CheckRange(const QString &subject, const HttpAnswer &answer, qint64 offset,
                const QString &part, const QString &whole, Findings &findings);

/// Checks the answer to the question for what follows a file of \a size bytes.
void CheckEndOfRange(const QString &subject, const HttpAnswer &answer, qint64 size,
                     Findings &findings);
