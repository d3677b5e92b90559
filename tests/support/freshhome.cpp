// Linked into every test program: before anything else runs (the
// application, GIO, a process-wide instance), HOME and the XDG folders point
// into a fresh temporary folder, removed again at exit. So no test can reach
// the real home, Trash, autostart entries or settings, whichever object it
// touches first.

#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int removeEntry(const char *path, const struct stat *, int, struct FTW *) { return ::remove(path); }

struct FreshHome
{
    std::string root;

    FreshHome()
    {
        const char *tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/brindlewick-test-XXXXXX";
        if (!::mkdtemp(pattern.data())) {
            std::perror("brindlewick test: no temporary home");
            std::_Exit(1);
        }
        root = pattern;
        const std::string home = root + "/home";
        const struct
        {
            const char *name;
            std::string path;
        } vars[] = {{"HOME", home},
                    {"XDG_CONFIG_HOME", home + "/.config"},
                    {"XDG_DATA_HOME", home + "/.local/share"},
                    {"XDG_CACHE_HOME", home + "/.cache"},
                    {"XDG_STATE_HOME", home + "/.local/state"}};
        for (const auto &var : vars) {
            std::string partial;
            for (size_t at = 0; at != std::string::npos;) {
                at = var.path.find('/', at + 1);
                partial = var.path.substr(0, at);
                ::mkdir(partial.c_str(), 0700);
            }
            ::setenv(var.name, var.path.c_str(), 1);
        }
        // The system-wide lists stay: programs and their data are found there.
        // So does XDG_RUNTIME_DIR: the session bus is found through it.
    }

    ~FreshHome()
    {
        if (!root.empty())
            ::nftw(root.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
};

const FreshHome freshHome;

} // namespace
