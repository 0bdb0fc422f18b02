// Arrays of more than 4 GiB, in a file of 8 GiB: as much as a machine of this time can be asked for.
//
//   q7test_large_mesh FOLDER
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "tests/host.h"

namespace {

constexpr int vertices = 400'000'000;
constexpr std::uint32_t positionCount = 3U * vertices;
constexpr std::uint32_t uvCount = 2U * vertices;

int failures = 0;

void expect(std::uint64_t found, std::uint64_t expected, const char* what) {
    if (found == expected) return;
    std::cerr << what << ": " << found << " instead of " << expected << '\n';
    ++failures;
}

class File {
  public:
    explicit File(const std::filesystem::path& path) : stream_(path, std::ios::binary) {}
    std::uint32_t word() {
        std::uint32_t value = 0;
        stream_.read(reinterpret_cast<char*>(&value), sizeof value);
        return stream_ ? value : 0xFFFFFFFFU;
    }
    void skip(std::uint64_t bytes) {
        stream_.seekg(static_cast<std::streamoff>(bytes), stream_.cur);
    }
    // The last number of an array, which stands before the place.
    float before() {
        float value = 0;
        stream_.seekg(-4, stream_.cur);
        stream_.read(reinterpret_cast<char*>(&value), sizeof value);
        return value;
    }

  private:
    std::ifstream stream_;
};

// Memory that is never written takes none.
template <class Number>
std::unique_ptr<Number, decltype(&std::free)> zeros(std::size_t count) {
    auto* const made = static_cast<Number*>(std::calloc(count, sizeof(Number)));
    if (!made) throw std::bad_alloc();
    return {made, &std::free};
}

void check(const std::filesystem::path& path) {
    File file(path);
    expect(file.word(), 11, "version");
    file.skip(2U * file.word());
    expect(file.word(), 0, "materials");
    expect(file.word(), 0, "instances");
    expect(file.word(), 1, "meshes");
    file.skip(2U * file.word());
    expect(file.word(), positionCount, "positions");
    file.skip(4ULL * positionCount);
    expect(file.before() == 7, 1, "the last position");
    expect(file.word(), 0, "normals");
    expect(file.word(), uvCount, "uvs");
    file.skip(4ULL * uvCount);
    expect(file.before() == 8, 1, "the last uv");
    expect(file.word(), 0, "colors");
    expect(file.word(), 0, "indices");
    expect(file.word(), 0xFFFFFFFFU, "nothing behind");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: q7test_large_mesh FOLDER\n";
        return 2;
    }
    const std::filesystem::path path = std::filesystem::path(argv[1]) / "large.q7mesh";
    {
        const Host host;
        const auto positions = zeros<float>(positionCount);
        const auto uvs = zeros<float>(uvCount);
        positions.get()[positionCount - 1] = 7;
        uvs.get()[uvCount - 1] = 8;
        AddMesh(host.session, Q7T("large"), positions.get(), static_cast<int>(positionCount),
                nullptr, 0, uvs.get(), static_cast<int>(uvCount), nullptr, 0, nullptr, 0);
        Q7SaveRawToFile(host.session, hostPath(path).c_str());
    }
    const std::uint64_t size = std::filesystem::file_size(path);
    check(path);
    std::filesystem::remove(path);
    std::cout << "a file of " << size << " bytes, " << failures << " faults\n";
    return failures == 0 && size > 8'000'000'000U ? 0 : 1;
}
