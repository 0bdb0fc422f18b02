// A library that a host loads and unloads while it runs.
#pragma once

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

class LoadedLibrary {
  public:
    explicit LoadedLibrary(std::filesystem::path file)
        : file_(std::filesystem::absolute(file).make_preferred()) {
#if defined(_WIN32)
        handle_ = LoadLibraryW(file_.c_str());
#else
        handle_ = dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
#endif
    }
    ~LoadedLibrary() {
        unload();
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // Null when there is none of that name.
    template <class Function>
    Function* find(const char* name) const {
#if defined(_WIN32)
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(handle_, name)));
#else
        return reinterpret_cast<Function*>(dlsym(handle_, name));
#endif
    }

    // Whether the process has it, by whomever it was loaded.
    bool isInProcess() const {
#if defined(_WIN32)
        return GetModuleHandleW(file_.c_str()) != nullptr;
#else
        void* const found = dlopen(file_.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (found != nullptr) dlclose(found);
        return found != nullptr;
#endif
    }

    void unload() {
        if (handle_ == nullptr) return;
#if defined(_WIN32)
        FreeLibrary(handle_);
#else
        dlclose(handle_);
#endif
        handle_ = nullptr;
    }

  private:
    std::filesystem::path file_;
#if defined(_WIN32)
    HMODULE handle_ = nullptr;
#else
    void* handle_ = nullptr;
#endif
};
