#include "materials/material_catalogue.h"

WideView cataloguePath(std::uint32_t type) {
    return MaterialCatalogue[type < MaterialCatalogue.size() ? type : 0];
}
