// What a host's handle points to, and the settings that reach beyond one record.
#pragma once

#include <memory>

#include "model/instance_id_table.h"
#include "model/node_builder.h"
#include "model/session_core.h"
#include "support/text.h"
#include "transport/q7_sync.h"
#include "transport/send.h"

struct Session {
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Makes the path that of the main model: the process remembers it too.
    void setModelFilePath(const WideString& path);
    // Makes the path that of a part of the main model.
    void setRelevantModelFilePath(const WideString& path);
    StreamSettings streamSettings() const;
    SendSettings sendSettings() const;

    std::unique_ptr<SessionCore> core;
    std::unique_ptr<NodeBuilder> nodeBuilder;
    std::unique_ptr<InstanceIdTable> instanceIds;
    // A live send gives each material an instance of its own.
    bool genMatInstances = false;

  private:
    void storeModelFilePath(const WideString& path, bool relevant);
};

// How the host's plug-in names itself; one text for the process.
WideString& dccPluginInfo();
