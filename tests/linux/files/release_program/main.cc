// A stand-in for the program of a release. A constructor, which runs before main, creates the file
// "executed" next to the program. It calls getpgid(), whose name a test replaces by that of a
// missing function.

#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

const struct Constructor {
  Constructor() {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    std::ofstream(program.parent_path() / "executed") << ::getpgid(0);
  }
} constructor;

}  // namespace

int main() {}
