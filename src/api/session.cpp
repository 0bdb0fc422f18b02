#include "api/session.h"

#include "link/link_state.h"

Session::Session()
    : core(std::make_unique<SessionCore>()),
      nodeBuilder(std::make_unique<NodeBuilder>(*core)),
      instanceIds(std::make_unique<InstanceIdTable>(*core)) {}

Session::~Session() {
    core->model.reset();
    instanceIds.reset();
    nodeBuilder.reset();
}

void Session::setModelFilePath(const WideString& path) {
    storeModelFilePath(path, false);
    linkState().modelFilePath = path;
}

void Session::setRelevantModelFilePath(const WideString& path) {
    storeModelFilePath(path, true);
}

void Session::storeModelFilePath(const WideString& path, bool relevant) {
    core->relevantPath = relevant;
    core->modelFilePath = path;
    core->cameraEntity->modelFilePath = path;
    core->metaEntity->modelFilePath = path;
}

StreamSettings Session::streamSettings() const {
    return {dccPluginInfo(), core->materialVersion};
}

SendSettings Session::sendSettings() const {
    return {streamSettings(), genMatInstances};
}

WideString& dccPluginInfo() {
    static WideString info;
    return info;
}
