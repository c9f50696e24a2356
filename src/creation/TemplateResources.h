#pragma once

#include <string>

namespace marrowkit {

/// Texts that the program carries for the side files of new databases, by the numbers of its resources.
enum TemplateId : int {
    kTextIniTemplate = 101,     ///< Text.ini: the frontend's texts, to be changed for one database
    kGfxTxtTemplate = 102,      ///< Gfx\gfx.txt: which images may be replaced
    kHelpHtmTemplate = 103,     ///< help.htm: what the Help menu's "Database Help" shows at first
    kCreditsIniTemplate = 104,  ///< Credits.ini: the entries of the Help menu
};

/// The text with this number, one character for each stored byte, the zero bytes at the end included.
/// Raises 326 for any other number.
std::string LoadTemplateResource(int id);

}  // namespace marrowkit
