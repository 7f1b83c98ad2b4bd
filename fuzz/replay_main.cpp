// Runs one fuzzer over given files and folders of inputs. The fuzzer ends the process when a property does not hold.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& file)
{
    std::printf("%s\n", file.c_str());
    std::fflush(stdout); // so that the last line names the input that broke it
    std::ifstream in;
    in.exceptions(std::ios::failbit); // a mistaken name must not pass for an empty input
    in.open(file, std::ios::binary);
    const std::string input(std::istreambuf_iterator<char>(in), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

int replay_all(const std::filesystem::path& place)
{
    if (!std::filesystem::is_directory(place)) {
        replay(place);
        return 1;
    }
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(place)) {
        replay(entry.path());
        ++replayed;
    }
    return replayed;
}

} // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerTestOneInput(nullptr, 0); // no fuzzer starts without it
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        replayed += replay_all(argv[i]);
    }
    std::printf("%d inputs\n", replayed);
    return replayed > 0 ? 0 : 1; // nothing to replay is a mistake in the call
}
