#include "compression/CDataCompressor.h"

CDataCompressor::CDataCompressor(CDataCompressionServices::DataCompressionEnum type,
                                 CDataCompressionProgress* progress)
    : mCompressionType(type)
    , mProgress(progress)
{
}

CDataCompressor::~CDataCompressor() = default;

void CDataCompressor::SetCompressionLevel(int level)
{
    mCompressionLevel = level;
}

int CDataCompressor::GetCompressionLevel()
{
    return mCompressionLevel;
}
