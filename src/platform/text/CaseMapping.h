#pragma once

namespace marrowkit {

// Upper and lower case of single characters, one to one and never by the locale: only pairs are mapped whose
// two halves lead to each other. A letter without such a partner (sharp s, dotless i, final sigma, the
// Kelvin sign) stays as it is, so that neither direction loses anything.

char32_t ToUpper(char32_t codePoint);
char32_t ToLower(char32_t codePoint);

}  // namespace marrowkit
