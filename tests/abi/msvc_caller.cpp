// A host that follows the MSVC ABI, made by clang without any runtime library. It calls every
// export with a decorated name, and a few plain ones, and looks at what they did. The exit code is
// 0, or the number of the first check that failed.

#include "q7plugin.h"

#define KERNEL extern "C" __declspec(dllimport)

struct ExceptionRecord {
    uint32_t code;
};

struct ExceptionPointers {
    const ExceptionRecord* record;
    void* context;
};

KERNEL void* AddVectoredExceptionHandler(unsigned long first, long (*handler)(ExceptionPointers*));
KERNEL int CloseHandle(void* handle);
KERNEL void* CreateFileW(const wchar_t* path, unsigned long access, unsigned long share,
                         void* security, unsigned long disposition, unsigned long attributes,
                         void* templateFile);
KERNEL int DeleteFileW(const wchar_t* path);
[[noreturn]] KERNEL void ExitProcess(unsigned int code);
KERNEL void* GetModuleHandleW(const wchar_t* name);
KERNEL void* GetProcAddress(void* module, const char* name);
KERNEL void* GetStdHandle(unsigned long which);
KERNEL int ReadFile(void* handle, void* data, unsigned long size, unsigned long* done, void*);
KERNEL int WriteFile(void* handle, const void* data, unsigned long size, unsigned long* done,
                     void*);

extern "C" {

// What the compiler takes for granted in a program that uses floats or copies memory.
int _fltused = 0;

void* memcpy(void* to, const void* from, size_t size) {
    for (size_t i = 0; i < size; ++i)
        static_cast<volatile char*>(to)[i] = static_cast<const char*>(from)[i];
    return to;
}

void* memset(void* to, int value, size_t size) {
    for (size_t i = 0; i < size; ++i)
        static_cast<volatile char*>(to)[i] = static_cast<char>(value);
    return to;
}
}

namespace {

unsigned int checks = 0;

void say(const char* text) {
    unsigned long length = 0, done = 0;
    while (text[length])
        ++length;
    WriteFile(GetStdHandle(static_cast<unsigned long>(-11)), text, length, &done, nullptr);
}

void check(bool holds, const char* what) {
    ++checks;
    if (holds) return;
    say("failed: ");
    say(what);
    say("\r\n");
    ExitProcess(checks);
}

// Reads a saved stream from its start to its end.
class Stream {
  public:
    explicit Stream(const wchar_t* path) {
        void* file = CreateFileW(path, 0x80000000u, 0, nullptr, 3, 0, nullptr);
        check(file != reinterpret_cast<void*>(-1), "the saved file opens");
        check(ReadFile(file, content_, sizeof content_, &size_, nullptr), "the saved file is read");
        CloseHandle(file);
        DeleteFileW(path);
    }

    uint32_t word() {
        uint32_t value = 0;
        check(matches(nullptr, sizeof value), "the stream has one more word");
        memcpy(&value, content_ + place_ - sizeof value, sizeof value);
        return value;
    }

    // Steps over the bytes, which must be the given ones, if any are given.
    bool matches(const void* bytes, size_t size) {
        if (size_ - place_ < size) return false;
        const auto* wanted = static_cast<const unsigned char*>(bytes);
        for (size_t i = 0; wanted && i < size; ++i)
            if (content_[place_ + i] != wanted[i]) return false;
        place_ += size;
        return true;
    }

    template <class Element, size_t count>
    bool matchesArray(const Element (&elements)[count]) {
        return word() == count && matches(elements, sizeof elements);
    }

    bool atEnd() const { return place_ == size_; }

  private:
    unsigned char content_[4096];
    unsigned long size_ = 0;
    unsigned long place_ = 0;
};

void checkAddMesh() {
    const wchar_t name[] = {L'm', 0x00e9, 0xd83d, 0xde00};
    const wchar_t zeroTerminated[] = {name[0], name[1], name[2], name[3], 0};
    float positions[] = {1, 2, 3, 4.5f, 5, 6, 7, 8, -9};
    float normals[] = {0, 0, 1, 0, 1, 0, 1, 0, 0};
    float uvs[] = {0.25f, 0.5f, 0.75f, 1, 0, 0.125f};
    unsigned char colors[] = {1, 2, 3, 255};
    int indices[] = {2, 1, 0};

    void* session = CreateSession();
    AddMesh(session, zeroTerminated, positions, 9, normals, 9, uvs, 6, colors, 4, indices, 3);
    SaveToFile(session, L"msvc_caller.q7mesh");
    DestroySession(session);

    Stream stream(L"msvc_caller.q7mesh");
    stream.word();
    const uint32_t headerLength = stream.word();
    check(stream.matches(nullptr, headerLength * sizeof(wchar_t)), "the stream has a header");
    check(stream.word() == 0, "AddMesh adds no material");
    check(stream.word() == 0, "AddMesh adds no instance");
    check(stream.word() == 1, "AddMesh adds one mesh");
    check(stream.matchesArray(name), "AddMesh: name");
    check(stream.matchesArray(positions), "AddMesh: positions");
    check(stream.matchesArray(normals), "AddMesh: normals");
    check(stream.matchesArray(uvs), "AddMesh: texture coordinates");
    check(stream.matchesArray(colors), "AddMesh: colors");
    check(stream.matchesArray(indices), "AddMesh: indices");
    check(stream.atEnd(), "the stream ends after the mesh");
}

void checkPlainExports() {
    const char version[] = "0.5.7.0";
    const char* got = Q7GetPluginVersion();
    for (size_t i = 0; i < sizeof version; ++i)
        check(got[i] == version[i], "Q7GetPluginVersion");

    const float corners[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const int indices[] = {0, 1, 2};
    void* session = CreateSession();
    check(HasConnected(session) == 0, "HasConnected");
    Q7AddMaterial(session, L"paint");
    Q7SetMaterialFloatProperty(session, L"paint", L"roughness", 0.5f);
    Q7BeginNodeHint(session, L"node", nullptr, 1, L"/node");
    MaxAddIndexTriangles(session, L"paint", 1, corners, nullptr, nullptr, 3, indices,
                         CoordOrder::XZY);
    Q7EndNode(session);
    check(Q7InstanceCount(session) == 1, "a node becomes an instance");
    DestroySession(session);
}

// Nobody listens at the port that a new process knows, which counts as connected.
void checkGroupConnect() {
    void* session = CreateSession();
    check(Q7GroupSyncConnect(session) == ConnectRet_Accepted, "Q7GroupSyncConnect");
    check(HasConnected(session) == 1, "Q7GroupSyncConnect: the session is connected");
    DisConnect(session);
    check(HasConnected(session) == 0, "DisConnect");
    DestroySession(session);
}

bool holds(const Q7AnimProperty& property, double v, double lt, double lv, double rt, double rv) {
    return property.V == v && property.LT == lt && property.LV == lv && property.RT == rt &&
           property.RV == rv;
}

void checkAnimProperty() {
    const Q7AnimProperty first(1, 2, 3, 4, 5);
    check(holds(first, 1, 2, 3, 4, 5), "Q7AnimProperty: constructor");

    Q7AnimProperty copied(0, 0, 0, 0, 0);
    check(&(copied = first) == &copied, "Q7AnimProperty: copy assignment returns its left side");
    check(holds(copied, 1, 2, 3, 4, 5), "Q7AnimProperty: copy assignment");

    Q7AnimProperty source(-1, 0.5, 1e300, -0.25, 7);
    Q7AnimProperty moved(0, 0, 0, 0, 0);
    Q7AnimProperty& result = moved = static_cast<Q7AnimProperty&&>(source);
    check(&result == &moved, "Q7AnimProperty: move assignment returns its left side");
    check(holds(moved, -1, 0.5, 1e300, -0.25, 7), "Q7AnimProperty: move assignment");

    using Constructor = void* (*)(void*, double, double, double, double, double);
    const auto constructor = reinterpret_cast<Constructor>(
        GetProcAddress(GetModuleHandleW(L"Q7Plugin.dll"), "??0Q7AnimProperty@@QEAA@NNNNN@Z"));
    check(constructor, "Q7AnimProperty: constructor is found by name");
    alignas(double) unsigned char place[sizeof(Q7AnimProperty)];
    check(constructor(place, 6, 7, 8, 9, 10) == place, "Q7AnimProperty: constructor returns this");
    check(holds(*reinterpret_cast<Q7AnimProperty*>(place), 6, 7, 8, 9, 10),
          "Q7AnimProperty: constructor called by address");
}

// The exception of the other compiler cannot be caught by type here; that it comes this far is
// what can be seen.
long endAtException(ExceptionPointers* exception) {
    constexpr uint32_t thrownByGcc = 0x20474343;
    check(exception->record->code == thrownByGcc, "Q7DeleteInstance throws a C++ exception");
    say("all checks passed\r\n");
    ExitProcess(0);
}

void checkDeleteInstance() {
    void* session = CreateSession();
    AddVectoredExceptionHandler(1, endAtException);
    Q7DeleteInstance(session, 1);
    check(false, "Q7DeleteInstance throws");
}

}  // namespace

extern "C" void start() {
    checkAddMesh();
    checkPlainExports();
    checkGroupConnect();
    checkAnimProperty();
    checkDeleteInstance();
}
