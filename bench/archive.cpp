// Archives of many textures, against other programs that pack the same files at their best level, and
// against deflate by itself.
//
//   q7bench_archive [--smoke]
#include <zlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/scenes.h"
#include "tests/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using bench::HostText;

HostText hostPath(const fs::path& path) {
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

// Three of four are as images are that were packed before: nothing makes them shorter. The fourth is
// as raw images are: slow changes with a little noise.
std::vector<char> textureBytes(std::size_t number, std::size_t size) {
    std::mt19937_64 random(number + 1);
    std::vector<char> bytes(size);
    for (std::size_t i = 0; i < size; i += 8) {
        std::uint64_t eight = random();
        if (number % 4 == 3) {
            const std::uint64_t slope = (i / 64 + i / 4096) % 248;
            eight = (eight & 0x0303030303030303) + slope * 0x0101010101010101;
        }
        std::memcpy(bytes.data() + i, &eight, 8);
    }
    return bytes;
}

std::vector<char> readFile(const fs::path& path) {
    std::vector<char> bytes(fs::file_size(path));
    std::ifstream(path, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

std::size_t deflatedSize(const fs::path& path) {
    std::vector<char> bytes = readFile(path);
    z_stream stream = {};
    if (deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("deflate does not start");
    stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    std::array<Bytef, 65536> packed;
    do {
        stream.next_out = packed.data();
        stream.avail_out = static_cast<uInt>(packed.size());
    } while (deflate(&stream, Z_FINISH) == Z_OK);
    const std::size_t size = stream.total_out;
    deflateEnd(&stream);
    return size;
}

// The textures as a host has them, a session that names them, and places for what is made of them.
class Textures {
  public:
    Textures(std::size_t count, std::size_t size) {
        const fs::path textures = content_ / "textures";
        fs::create_directories(textures);
        Q7SetMaterialVersion(session_.handle, 1);
        for (std::size_t i = 0; i < count; ++i) {
            const fs::path file = textures / ("texture" + std::to_string(i) + ".png");
            const std::vector<char> bytes = textureBytes(i, size);
            std::ofstream out(file, std::ios::binary);
            out.write(bytes.data(), static_cast<std::streamsize>(size));
            if (!out.flush()) throw std::runtime_error("no room for the textures");
            files_.push_back(file);
            const HostText material = bench::numbered("material", i);
            Q7AddMaterial(session_.handle, material.c_str());
            Q7SetMaterialStringProperty(session_.handle, material.c_str(), Q7T("texture"),
                                        hostPath(file).c_str());
        }
        bench::manyMeshes(session_, 10, 12, 1);
        Q7SaveRawToFile(session_.handle, hostPath(content_ / "1.q7mesh").c_str());
        Q7SaveMaterialToFile(session_.handle, hostPath(content_ / "q7material.xml").c_str());
    }

    fs::path archive() const { return place_.path() / "archive.q7a"; }
    fs::path packedBy(const std::string& program) const {
        return place_.path() / (program + ".zip");
    }
    const fs::path& content() const { return content_; }

    void save() const {
        if (Q7SaveRawToQ7a(session_.handle, hostPath(archive()).c_str()) != 1)
            throw std::runtime_error("the archive was not made");
    }
    void deflateAll() const {
        for (const fs::path& file : files_)
            deflatedSize(file);
    }

  private:
    TemporaryFolder place_;
    fs::path content_ = place_.path() / "content";
    bench::Session session_;
    std::vector<fs::path> files_;
};

// Another program: how it is asked whether it is there, and how it packs the working folder.
struct Packer {
    std::string name;
    std::string probe;
    std::string command;
    std::string label;
    // Ten times slower than the others: it packs the smaller content only.
    bool isSlow;
};

const std::array<Packer, 2> packers = {{
    {"zip", "zip -v", "zip -9 -q -r", "zip -9", false},
    {"7z", "7z i", "7z a -tzip -mx=9", "7z -tzip -mx=9", true},
}};

#if defined(_WIN32)
constexpr const char* nowhere = " >NUL 2>NUL";
#else
constexpr const char* nowhere = " >/dev/null 2>/dev/null";
#endif

bool runs(const std::string& command) {
    return std::system((command + nowhere).c_str()) == 0;
}

std::vector<Packer> installedPackers() {
    std::vector<Packer> found;
    for (const Packer& packer : packers) {
        if (runs(packer.probe)) {
            found.push_back(packer);
        } else {
            std::fprintf(stderr, "archive: %s is not installed and left out\n",
                         packer.name.c_str());
        }
    }
    return found;
}

void packWith(const Packer& packer, const Textures& textures) {
    // Else the program would update what the run before left.
    fs::remove(textures.packedBy(packer.name));
    const std::string command = "cd \"" + textures.content().string() + "\" && " + packer.command +
                                " \"" + textures.packedBy(packer.name).string() + "\" .";
    if (!runs(command)) throw std::runtime_error(packer.name + " failed");
}

void archive(std::size_t count, std::size_t size, const std::vector<Packer>& programs,
             int repetitions) {
    const Textures textures(count, size);
    const double bytes = static_cast<double>(count * size);
    std::vector<bench::Peer> peers = {
        {"deflate alone", bench::timed([&] { textures.deflateAll(); })}};
    for (const Packer& program : programs) {
        peers.push_back({program.label, [&textures, &program] {
                             return bench::millisecondsOf([&] { packWith(program, textures); });
                         }});
    }
    bench::compare({"archive of textures", bytes, "bytes", bench::timed([&] { textures.save(); })},
                   peers, repetitions);
    for (const Packer& program : programs) {
        bench::printRow({"archive size", bytes, "bytes", {}},
                        static_cast<double>(fs::file_size(textures.archive())), program.label,
                        static_cast<double>(fs::file_size(textures.packedBy(program.name))));
    }
}

void run(const bench::Options& options) {
    const std::vector<Packer> programs = installedPackers();
    const std::size_t size = options.smoke ? 256 << 10 : 8 << 20;
    for (const std::size_t count : options.sizes(120, 4)) {
        const bool takesMinutes = count > 100;
        std::vector<Packer> chosen = programs;
        if (takesMinutes) std::erase_if(chosen, [](const Packer& each) { return each.isSlow; });
        archive(count, size, chosen, options.smoke || takesMinutes ? 1 : 3);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}
