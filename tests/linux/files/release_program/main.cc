// A stand-in for the program of a release. Its constructor, which runs before main, creates a
// file next to it.

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
