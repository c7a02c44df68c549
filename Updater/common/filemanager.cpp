#include "common/filemanager.h"

void FileManager::PreRun() {}

void FileManager::Run()
{
    msleep(10);
}

void FileManager::PostRun() {}
