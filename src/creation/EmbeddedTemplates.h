#pragma once

#include <span>

/// The files of resources/templates, byte for byte. LoadTemplateResource reads them.
namespace marrowkit::resources {

extern const std::span<const unsigned char> kTextIni;
extern const std::span<const unsigned char> kGfxTxt;
extern const std::span<const unsigned char> kHelpHtm;
extern const std::span<const unsigned char> kCreditsIni;

}  // namespace marrowkit::resources
