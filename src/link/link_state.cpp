#include "link/link_state.h"

LinkState& linkState() {
    static LinkState state;
    return state;
}
