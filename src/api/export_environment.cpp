#include <algorithm>

#include "api/convert.h"
#include "env/client_id.h"
#include "env/directories.h"
#include "link/render_window.h"

uint32_t Q7GetCid(char* buffer, uint32_t size) {
    const std::string& id = clientId();
    if (buffer && size > id.size()) std::copy_n(id.c_str(), id.size() + 1, buffer);
    return static_cast<uint32_t>(id.size() + 1);
}

uint32_t Q7GetLogDir(Q7Char* buffer, uint32_t size) {
    const WideString folder = logDirectory();
    if (buffer && size > folder.size()) copyOut(folder, buffer);
    return static_cast<uint32_t>(folder.size() + 1);
}

uint32_t Q7RenderWindowSize() {
    return renderWindow().viewportSize();
}
