// `loamctl search` over a tree of documents, the whole program as a user runs it.
//
// Bytes a second are those of the files. The tree is made of the texts of `Corpora`, a few copies
// of each in folders of their own, and lies in the folder for temporary files; after the first
// round the files come from the page cache.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/Corpora.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr int kCopies = 8;

// The tree, made at first use and removed at the end.
class CTree
{
public:
    static CTree const& Get()
    {
        static CTree const sTree;
        return sTree;
    }

    CTree(CTree const&) = delete;
    CTree& operator=(CTree const&) = delete;

    ~CTree()
    {
        std::error_code ignored;
        fs::remove_all(mPath, ignored);
    }

    std::string const& Path() const { return mPath; }

    long long Bytes() const { return mBytes; }

private:
    CTree()
    {
        std::string pattern = (fs::temp_directory_path() / "loam-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        mPath = pattern;
        for (int copy = 0; copy < kCopies; ++copy) {
            fs::path const folder = fs::path(mPath) / std::to_string(copy);
            fs::create_directory(folder);
            for (Corpus const& corpus : Corpora()) {
                std::ofstream(folder / (corpus.mName + ".txt"), std::ios::binary) << corpus.mText;
                mBytes += static_cast<long long>(corpus.mText.size());
            }
        }
    }

    std::string mPath;
    long long mBytes = 0;
};

// Runs the program with its output thrown away and answers its exit code.
int Run(std::vector<std::string> arguments)
{
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int const error = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (error != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

void SearchTree(benchmark::State& state, char const* word, int expected)
{
    CTree const& tree = CTree::Get();
    for (auto _ : state) {
        if (Run({LOAMCTL_PATH, "search", "-c", word, tree.Path()}) != expected) {
            state.SkipWithError("loamctl did not answer as it should");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * tree.Bytes());
}

}  // namespace

BENCHMARK_CAPTURE(SearchTree, a_word_that_occurs, "system", 0)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SearchTree, a_word_that_never_does, "qzxqzxqzx", 1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
