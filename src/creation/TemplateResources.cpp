#include "creation/TemplateResources.h"

#include "creation/EmbeddedTemplates.h"
#include "platform/errors/RuntimeError.h"
#include "platform/text/CodePage1252.h"

namespace marrowkit {

namespace {

constexpr int kResourceNotFound = 326;

}  // namespace

std::string LoadTemplateResource(int id) {
    switch (id) {
        case kTextIniTemplate:
            return Cp1252ToUtf8(resources::kTextIni);
        case kGfxTxtTemplate:
            return Cp1252ToUtf8(resources::kGfxTxt);
        case kHelpHtmTemplate:
            return Cp1252ToUtf8(resources::kHelpHtm);
        case kCreditsIniTemplate:
            return Cp1252ToUtf8(resources::kCreditsIni);
        default:
            throw RuntimeError(kResourceNotFound, std::string(RuntimeErrorText(kResourceNotFound)));
    }
}

}  // namespace marrowkit
