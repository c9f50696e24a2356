#include "platform/jet/expression/Functions.h"

#include <string>
#include <unordered_map>

#include "platform/jet/expression/Characters.h"

namespace marrowkit::expression {
namespace {

using Catalogue = std::unordered_map<std::string, const Function*>;

Catalogue MakeCatalogue() {
    Catalogue catalogue;
    for (const auto functions : {TextFunctions(), NumberFunctions(), DateFunctions(), ConversionFunctions()})
        for (const Function& function : functions) catalogue.emplace(FoldName(function.name), &function);
    return catalogue;
}

}  // namespace

const Function* FindFunction(std::string_view name) {
    static const Catalogue kCatalogue = MakeCatalogue();
    if (name.ends_with('$')) name.remove_suffix(1);
    const auto found = kCatalogue.find(FoldName(name));
    return found == kCatalogue.end() ? nullptr : found->second;
}

}  // namespace marrowkit::expression
