#include "send/ending_files.h"

#include <assimp/IOStream.hpp>
#include <memory>
#include <stdexcept>
#include <utility>

namespace q7send {

namespace {

constexpr int mostReadsInVain = 10'000;

class EndingFile : public Assimp::IOStream {
  public:
    explicit EndingFile(std::unique_ptr<Assimp::IOStream> file) : file_(std::move(file)) {}

    std::size_t Read(void* buffer, std::size_t size, std::size_t count) override {
        const std::size_t read = file_->Read(buffer, size, count);
        readsInVain_ = read != 0 || size == 0 || count == 0 ? 0 : readsInVain_ + 1;
        if (readsInVain_ > mostReadsInVain) throw std::runtime_error("the file is cut off");
        return read;
    }
    std::size_t Write(const void* buffer, std::size_t size, std::size_t count) override {
        return file_->Write(buffer, size, count);
    }
    aiReturn Seek(std::size_t offset, aiOrigin origin) override {
        return file_->Seek(offset, origin);
    }
    std::size_t Tell() const override { return file_->Tell(); }
    std::size_t FileSize() const override { return file_->FileSize(); }
    void Flush() override { file_->Flush(); }

  private:
    std::unique_ptr<Assimp::IOStream> file_;
    int readsInVain_ = 0;
};

}  // namespace

Assimp::IOStream* EndingFiles::Open(const char* file, const char* mode) {
    std::unique_ptr<Assimp::IOStream> opened(DefaultIOSystem::Open(file, mode));
    // The importer closes what it opens.
    return opened ? std::make_unique<EndingFile>(std::move(opened)).release() : nullptr;
}

}  // namespace q7send
