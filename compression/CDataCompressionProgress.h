// Watches a compressor at work, and can stop it. Hosts derive from this; only bzip2 calls it.
#pragma once

/// Called on the thread that compresses, after each step of the work. True goes on; false stops,
/// and the operation then answers false with what was made so far.
class CDataCompressionProgress
{
public:
    virtual ~CDataCompressionProgress() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// From the one-shot forms: so many bytes of the input are done of so many in all.
    virtual bool ProgressOfTotal(unsigned long long totalSize, unsigned int doneSize) = 0;
    /// From the chunked forms: so many bytes of the input are done since the run began, modulo
    /// 2^32. False behind the last byte of a chunk comes too late to stop that chunk.
    virtual bool ProgressOfChunks(unsigned int doneSize) = 0;

protected:
    CDataCompressionProgress() = default;
    CDataCompressionProgress(CDataCompressionProgress const&) = default;
    CDataCompressionProgress& operator=(CDataCompressionProgress const&) = default;
};
