// A shared library that is loaded by the code that needs it, for itself alone.
#pragma once

#include <initializer_list>
#include <string>

namespace platform {

// Its names mix with those of no other library. A host may well have another build or version of the
// same library, or functions of the same names: a library that is linked would call the host's on POSIX,
// and on Windows be given whatever library of the file's name was loaded first.
class PrivateLibrary {
  public:
    // Looks for the file beside the library or program that this code is in, then where the system looks.
    explicit PrivateLibrary(const std::string& fileName);
    ~PrivateLibrary();
    PrivateLibrary(const PrivateLibrary&) = delete;
    PrivateLibrary& operator=(const PrivateLibrary&) = delete;

    bool isLoaded() const { return handle_ != nullptr; }

    // Null when it is not loaded or has no function of that name.
    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(findAddress(name));
    }

    // Whether calls within the library, and to what it needs, reach these functions there and not ones of
    // the host.
    bool reaches(std::initializer_list<const char*> names) const;

  private:
    void* findAddress(const char* name) const;

    void* handle_ = nullptr;
};

}  // namespace platform
