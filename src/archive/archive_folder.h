// The temporary folder beside an archive, which is filled and then packed. It stays after a failure, with
// all that lies in it, and the next archive in the same place packs that too.
#pragma once

#include <string_view>
#include <vector>

#include "materials/q7_material.h"
#include "model/session_core.h"
#include "support/text.h"

// The files that the material's texts name, each once: whatever text is the path of a file that opens.
std::vector<WideString> collectTextureFiles(const Q7Material& material);

// Copies the files that the typed materials name into the folder; of two with one name the later one
// stays. With another material version than 1 none is copied. False when a file could not be copied.
bool copyMaterialTextures(const SessionCore& session, const WideString& folder);

class ArchiveFolder {
  public:
    explicit ArchiveFolder(const WideString& archive);

    // The path of a file of that name in the folder.
    WideString file(WideView name) const;

    // Each of these is false, with a line on standard error, when it fails.
    // Makes the folder, and in it that of the textures with all texture files.
    bool addTextures(const SessionCore& session) const;
    // Packs the folder into the archive and removes it.
    bool pack() const;

    void addMaterialList(const SessionCore& session) const;

  private:
    WideString archive_;
    WideString folder_;
};

// Prints why an archive was not made; always false.
bool archiveFailed(std::string_view reason);
