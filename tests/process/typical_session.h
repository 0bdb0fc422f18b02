// What a host does with the library from one end to the other, as steps that a test can look between.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/archive/archive_contents.h"
#include "tests/host_text.h"
#include "tests/process/exports.h"
#include "tests/read_file.h"

struct SessionKind {
    // In each of the large nodes; from 12000 on the library works with several threads.
    int triangles = 2;
    // Coordinates, transforms and properties that are no numbers, infinite, tiny or huge.
    bool hasOddNumbers = false;
    bool hasArchives = true;
    // Connects and sends, to a renderer if there is one.
    bool hasLink = false;
};

class TypicalSession {
  public:
    using Text = std::basic_string<Q7Char>;
    struct Step {
        const char* name;
        std::function<void()> call;
    };

    // Everything that is handed over is made here: a step calls one function of the library and does
    // nothing else.
    TypicalSession(const Exports& exports, std::filesystem::path folder, SessionKind kind = {})
        : q7_(exports), folder_(std::move(folder)), kind_(kind) {
        texture_ = write("texture.png", "a picture");
        external_ = write("scene.fbx", "a scene of the host's own");
        makeGeometry();
        addSettings();
        addMaterials();
        addNodes();
        addRecords();
        addSaves();
        if (kind_.hasArchives) addArchives();
        if (kind_.hasLink) addLink();
        add("DestroySession", [this] { end(); });
    }
    ~TypicalSession() { end(); }
    TypicalSession(const TypicalSession&) = delete;
    TypicalSession& operator=(const TypicalSession&) = delete;

    const std::vector<Step>& steps() const { return steps_; }
    void run() const {
        for (const Step& step : steps_)
            step.call();
    }
    // Also when it has not begun, and again.
    void end() {
        if (session_ != nullptr) q7_.DestroySession(std::exchange(session_, nullptr));
    }

    // What it has written, by the names of the files, less what differs each time.
    std::map<std::string, std::string> written() const {
        std::map<std::string, std::string> files;
        for (const char* name : {"raw", "processed", "materials"})
            files[name] = readFile(folder_ / name);
        for (const char* name : {"raw.q7a", "processed.q7a", "external.q7a"}) {
            if (!std::filesystem::exists(folder_ / name)) continue;
            for (const auto& [entry, bytes] : archiveContents(folder_ / name))
                files[std::string(name) + ':' + entry] = bytes.substr(0, bytes.find("\"productID"));
        }
        return files;
    }
    std::filesystem::path temporaryFolder() const { return folder_ / "__q7_export_temp"; }

  private:
    template <class Call>
    void add(const char* name, Call call) {
        steps_.push_back({name, [this, call] {
                              // Without a session there is nothing to do.
                              if (session_ != nullptr) call();
                          }});
    }

    static Text textOf(const std::filesystem::path& path) {
        const std::u16string wide = path.u16string();
        return {wide.begin(), wide.end()};
    }
    Text write(const char* name, const char* content) const {
        std::ofstream(folder_ / name, std::ios::binary) << content;
        return pathOf(name);
    }
    // Where one of the files goes that it writes. An older one is taken away: writing over it waits for
    // the disk.
    Text newFile(const char* name) const {
        std::filesystem::remove(folder_ / name);
        return pathOf(name);
    }
    Text pathOf(const char* name) const { return textOf((folder_ / name).make_preferred()); }

    void makeGeometry() {
        constexpr auto nan = std::numeric_limits<float>::quiet_NaN();
        constexpr auto infinity = std::numeric_limits<float>::infinity();
        constexpr std::array odd = {nan, infinity, -infinity, 1e-42F, 3e38F, -3e38F, 0.0F};
        const auto triangles = static_cast<std::size_t>(kind_.triangles);
        positions_.resize(9 * triangles);
        for (std::size_t i = 0; i < positions_.size(); ++i)
            positions_[i] =
                kind_.hasOddNumbers ? odd[i % odd.size()] : static_cast<float>(i % 1000) * 0.37F;
        normals_.assign(9 * triangles, kind_.hasOddNumbers ? 0.0F : 0.6F);
        uvs_.assign(6 * triangles, 1e-41F);
        if (kind_.hasOddNumbers) {
            first_ = {};
            second_ = {nan, 3e38F, 0, 0, 1e-30F, 3e38F, infinity, 0, 0, 0, 0, 0, 1e-42F, 0, 0, 1};
        }
    }

    void addSettings() {
        steps_.push_back({"CreateSession", [this] { session_ = q7_.CreateSession(); }});
        add("Q7SetDccPluginInfo", [this] { q7_.Q7SetDccPluginInfo(Q7T("A host with a name")); });
        add("SetModelFilePath",
            [this] { q7_.SetModelFilePath(session_, Q7T("a model file with a long path.max")); });
        add("SetTextureFolder",
            [this] { q7_.SetTextureFolder(session_, Q7T("a folder of textures")); });
        add("Q7SetMaterialVersion", [this] { q7_.Q7SetMaterialVersion(session_, 1); });
        add("SetGenMatInstances", [this] { q7_.SetGenMatInstances(session_, 1); });
    }

    void addMaterials() {
        add("Q7AddMaterial", [this] { q7_.Q7AddMaterial(session_, material); });
        add("Q7SetMaterialType", [this] { q7_.Q7SetMaterialType(session_, material, 3); });
        add("Q7SetMaterialIntProperty",
            [this] { q7_.Q7SetMaterialIntProperty(session_, material, Q7T("Mode"), -1234567); });
        const std::pair<const Q7Char*, float> numbers[] = {{Q7T("One"), 0.1F},
                                                           {Q7T("Two"), 1e10F},
                                                           {Q7T("Three"), 1234.5F},
                                                           {Q7T("Four"), 1e-42F}};
        for (const auto& [property, value] : numbers) {
            add("Q7SetMaterialFloatProperty", [this, property = property, value = value] {
                q7_.Q7SetMaterialFloatProperty(session_, material, property, value);
            });
        }
        if (kind_.hasOddNumbers) {
            add("Q7SetMaterialFloatProperty", [this] {
                q7_.Q7SetMaterialFloatProperty(session_, material, Q7T("Not a number"),
                                               std::numeric_limits<float>::signaling_NaN());
            });
        }
        add("Q7SetMaterialStringProperty", [this] {
            q7_.Q7SetMaterialStringProperty(session_, material, Q7T("Base Map"), texture_.c_str());
        });
        add("AddMaterial", [this] {
            q7_.AddMaterial(session_, Q7T("a text material"), Q7T("<Material>\n</Material>\n"));
        });
    }

    void addNodes() {
        for (const Q7Char* node : {Q7T("a node of the host"), Q7T("another node of the host")}) {
            const float* const transform = node[1] == ' ' ? first_.data() : second_.data();
            add("Q7BeginNode",
                [=, this] { q7_.Q7BeginNode(session_, node, transform, Q7T("/root/group/node")); });
            add("MaxAddTriangles", [this] {
                q7_.MaxAddTriangles(session_, material, kind_.triangles, positions_.data(),
                                    normals_.data(), uvs_.data(), CoordOrder::XYZ);
            });
            add("MaxAddIndexTriangles", [this] {
                constexpr std::array<int, 3> indices = {0, 1, 2};
                q7_.MaxAddIndexTriangles(session_, Q7T("an unknown material"), 1, positions_.data(),
                                         nullptr, nullptr, 3, indices.data(), CoordOrder::ZXY);
            });
            add("Q7EndNode", [this] { q7_.Q7EndNode(session_); });
        }
        add("Q7BeginNodeHint", [this] {
            q7_.Q7BeginNodeHint(session_, Q7T("hinted"), first_.data(), 10, Q7T("/hinted"));
        });
        add("MaxAddTriangle", [this] {
            q7_.MaxAddTriangle(session_, Q7T("a text material"), positions_.data(), normals_.data(),
                               nullptr);
        });
        add("Q7EndNode", [this] { q7_.Q7EndNode(session_); });
        add("MaxDuplicateNode", [this] {
            q7_.MaxDuplicateNode(session_, Q7T("hinted"), Q7T("a copy of it"), second_.data());
        });
        add("Q7DuplicateNode", [this] {
            q7_.Q7DuplicateNode(session_, Q7T("hinted"), Q7T("hinted"), first_.data(),
                                Q7T("/a path of its own"));
        });
        add("MaxDeleteNode", [this] { q7_.MaxDeleteNode(session_, Q7T("a copy of it")); });
        add("Q7InstanceCount", [this] { q7_.Q7InstanceCount(session_); });
    }

    void addRecords() {
        const float number = kind_.hasOddNumbers ? std::numeric_limits<float>::infinity() : 1e-42F;
        add("Q7AddLight", [this] { q7_.Q7AddLight(session_, Q7T("a light of the scene")); });
        add("Q7SetEntityFloatProperty", [=, this] {
            q7_.Q7SetEntityFloatProperty(session_, 1, Q7T("a light of the scene"), Q7T("Power"),
                                         number);
        });
        add("Q7AddScene", [this] { q7_.Q7AddScene(session_, Q7T("a scene")); });
        add("Q7SetEntityStringProperty", [this] {
            q7_.Q7SetEntityStringProperty(session_, 2, Q7T("a scene"), Q7T("Label"),
                                          Q7T("a label of some length"));
        });
        add("Q7SetEntityIntProperty",
            [this] { q7_.Q7SetEntityIntProperty(session_, 0, nullptr, Q7T("Mode"), 7); });
        add("Q7SetPathElementName", [this] {
            q7_.Q7SetPathElementName(session_, Q7T("the id of a path"), Q7T("the name of a path"));
        });
        add("AddScene", [this] {
            q7_.AddScene(session_, Q7T("legacy"), Q7T("its label"), sceneData_.data(), 1);
        });
        add("Q7AddCameraAnims", [this] { q7_.Q7AddCameraAnims(session_, animation); });
        add("Q7AddAnimEntityFrame",
            [this] { q7_.Q7AddAnimEntityFrame(session_, 4, animation, time_); });
        add("Q7FindAnimEntityFrame",
            [this] { q7_.Q7FindAnimEntityFrame(session_, 4, animation, time_); });
        add("Q7SetAnimProperty", [this] {
            q7_.Q7SetAnimProperty(session_, 4, animation, Q7T("Position.x"), 0,
                                  reinterpret_cast<const Q7AnimProperty*>(point_.data()));
        });
    }

    void addSaves() {
        raw_ = newFile("raw");
        processed_ = newFile("processed");
        materials_ = newFile("materials");
        add("Q7SaveRawToFile", [this] { q7_.Q7SaveRawToFile(session_, raw_.c_str()); });
        add("Q7SaveProcessedToFile",
            [this] { q7_.Q7SaveProcessedToFile(session_, processed_.c_str()); });
        add("Q7SaveMaterialToFile",
            [this] { q7_.Q7SaveMaterialToFile(session_, materials_.c_str()); });
        add("Q7GetLogDir", [this] { q7_.Q7GetLogDir(nullptr, 0); });
    }

    void addArchives() {
        rawArchive_ = newFile("raw.q7a");
        processedArchive_ = newFile("processed.q7a");
        externalArchive_ = newFile("external.q7a");
        add("Q7SaveRawToQ7a", [this] { q7_.Q7SaveRawToQ7a(session_, rawArchive_.c_str()); });
        add("Q7SaveProcessedToQ7a",
            [this] { q7_.Q7SaveProcessedToQ7a(session_, processedArchive_.c_str()); });
        add("Q7SaveExtToQ7a",
            [this] { q7_.Q7SaveExtToQ7a(session_, external_.c_str(), externalArchive_.c_str()); });
    }

    void addLink() {
        add("GetQ7RenderStatus", [this] { q7_.GetQ7RenderStatus(nullptr); });
        add("Q7GetRenderVersion", [this] { q7_.Q7GetRenderVersion(nullptr, 0); });
        add("Q7SendCamera", [this] { q7_.Q7SendCamera(session_); });
        add("Q7SendMetaData", [this] { q7_.Q7SendMetaData(session_); });
        add("Q7GetMetaData", [this] { q7_.Q7GetMetaData(session_, nullptr, 0); });
        add("Q7SendScenes", [this] { q7_.Q7SendScenes(session_); });
        add("Q7SendLights", [this] { q7_.Q7SendLights(session_); });
        add("Q7SendCameraAnims", [this] { q7_.Q7SendCameraAnims(session_); });
        add("GetSendModelType", [this] { q7_.GetSendModelType(session_, Q7T("a model")); });
        add("Connect", [this] { q7_.Connect(session_); });
        add("Q7SendRaw", [this] { q7_.Q7SendRaw(session_); });
        add("DisConnect", [this] { q7_.DisConnect(session_); });
        add("Q7ProcessedSyncConnect", [this] { q7_.Q7ProcessedSyncConnect(session_); });
        add("Q7SendProcessed", [this] { q7_.Q7SendProcessed(session_); });
        add("DisConnect", [this] { q7_.DisConnect(session_); });
    }

    static constexpr const Q7Char* material = Q7T("a typed/material");
    static constexpr const Q7Char* animation = Q7T("a camera animation");

    const Exports q7_;
    const std::filesystem::path folder_;
    const SessionKind kind_;
    void* session_ = nullptr;
    std::vector<Step> steps_;

    std::vector<float> positions_;
    std::vector<float> normals_;
    std::vector<float> uvs_;
    std::array<float, 16> first_ = {0.5F, 0, 0, 0, 0, 0.8F, 0.6F, 0, 0, -0.6F, 0.8F, 0, 1, 2, 3, 1};
    std::array<float, 16> second_ = {1, 5, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -7, 0.1F, 1e-41F, 1};
    std::array<std::byte, 36> sceneData_ = {};
    // The record's constructor is one of the library's functions.
    std::array<double, 5> point_ = {0.1, 1e-310, 3, 4, 5};
    double time_ = 0.04;
    Text texture_, external_, raw_, processed_, materials_;
    Text rawArchive_, processedArchive_, externalArchive_;
};
