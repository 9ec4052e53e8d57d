// A stand-in for the program of a release. A constructor, which runs before main, creates the file
// "executed" next to it. It calls getpgid(), so that a test can break the symbol of a library.

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
