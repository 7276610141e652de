#include "files/CBasicFileSpecImp.h"

#include "files/CFileSpecImp.h"

void CBasicFileSpecImp::SetFileTypeCreator(unsigned int /*type*/, unsigned int /*creator*/) {}

void CBasicFileSpecImp::SetFileLabel(unsigned int /*label*/) {}

void CBasicFileSpecImp::GetFileTypeCreator(unsigned int* type, unsigned int* creator) const
{
    if (type) *type = 0;
    if (creator) *creator = 0;
}

bool CBasicFileSpecImp::IsVolume() const
{
    CFileSpecImp volume;
    GetVolume(&volume);
    std::string path;
    GetFullPath8bit(&path);
    std::string volumePath;
    volume.GetFullPath8bit(&volumePath);
    return path == volumePath;
}
