#pragma once

#include "common/cthread.h"

/// A worker thread that has nothing to do yet.
class FileManager : public CThread
{
    Q_OBJECT

public:
    using CThread::CThread;

protected:
    void PreRun() override;
    void Run() override;
    void PostRun() override;
};
