// Runs a fuzz target over files and folders of inputs without libFuzzer, so that the
// seed corpora are replayed in every build (and under the sanitizers).
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int runFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    return 0;
}

int main(int argc, char** argv)
{
    int failures = 0;
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(arg)) {
                if (entry.is_regular_file()) {
                    failures += runFile(entry.path());
                    ++inputs;
                }
            }
        } else {
            failures += runFile(arg);
            ++inputs;
        }
    }
    // An empty input also has to be handled.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("replayed %d inputs\n", inputs);
    return (failures != 0 || inputs == 0) ? 1 : 0;
}
