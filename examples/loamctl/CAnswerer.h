// Answers one client of `loamctl serve`: a line asks, JSON Lines answer.
//
//     search WORD      hits in all documents of the folder served
//     words PATH       the words of a document
//     facts PATH       kind and size of a file or folder
//     quit             ends the connection
//
// An answer ends with {"type":"end"}, or with {"type":"error","reason":...}.
#pragma once

#include <string>

#include "loamctl/CBasicSink.h"
#include "loamctl/CDocument.h"
#include "loamctl/COutput.h"
#include "marl/amortizedmemblock.h"

class CNetConnection;

class CAnswerer final : public CBasicSink
{
public:
    /// Lines of a question are no longer, in bytes.
    static constexpr unsigned int kLongestLine = 4096;

    /// Nothing outside `root`, a path without links that is the working folder, is looked at.
    /// `connection` lives as long.
    CAnswerer(CNetConnection& connection, std::string root);

    /// Answers line by line until the client has gone or quits. Throws what the connection and
    /// `ThrowIfInterrupted` throw.
    void Run();
    /// Ends an answer by an error.
    void Refuse(std::string const& reason);

    void Write(std::string_view lines) override;
    void WriteError(std::string_view lines) override;
    void BeginGroup() override;

private:
    bool Answer(std::string const& line);
    void Search(std::string const& word);
    void ListWords(std::string const& path);
    void TellFacts(std::string const& path);
    std::string PathInRoot(std::string const& path) const;

    CNetConnection& mConnection;
    std::string mRoot;
    COutput mOutput;
    CDocument mDocument;
    amortizedmemblock mBlock{1024, 2.0F, true};
};
