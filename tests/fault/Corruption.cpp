#include "fault/Corruption.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace marrowkit::test {

namespace {

class Vandal {
public:
    Vandal(std::vector<std::uint8_t>& file, std::uint32_t seed)
        : file_(&file), random_(seed), pageBytes_(file.size() > 0x14 && file[0x14] == 0 ? 2048 : 4096) {}

    std::string Run() {
        std::string done;
        const std::size_t times = 1 + Below(4);
        for (std::size_t i = 0; i < times && PageCount() > 2; ++i) {
            if (i > 0) done += ", ";
            done += One();
        }
        return done;
    }

private:
    std::size_t Below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }
    std::size_t PageCount() const { return file_->size() / pageBytes_; }
    /// Any page but the header, half of the time one that is not merely rows; the header now and then.
    std::size_t SomePage() {
        constexpr std::uint8_t kDataPage = 1;
        if (Below(20) == 0) return 0;
        std::size_t page = 1 + Below(PageCount() - 1);
        if (Below(2) == 0) return page;
        for (int tries = 0; tries < 8 && *Page(page) == kDataPage; ++tries) page = 1 + Below(PageCount() - 1);
        return page;
    }
    std::uint8_t* Page(std::size_t page) { return file_->data() + page * pageBytes_; }
    void PutU16(std::size_t page, std::size_t at, std::uint32_t value) {
        Page(page)[at] = static_cast<std::uint8_t>(value);
        Page(page)[at + 1] = static_cast<std::uint8_t>(value >> 8);
    }
    void PutU32(std::size_t page, std::size_t at, std::uint32_t value) {
        PutU16(page, at, value & 0xFFFF);
        PutU16(page, at + 2, value >> 16);
    }
    static std::string Text(const char* what, std::size_t page) {
        return std::string(what) + " page " + std::to_string(page);
    }

    std::string One() {
        const std::size_t page = SomePage();
        switch (Below(10)) {
            case 0:
            case 1:
                return FlipBits(page);
            case 2:
                return SmashField(page);
            case 3:
                return SmashHead(page);
            case 4:
                std::fill_n(Page(page), pageBytes_, std::uint8_t{0});
                return Text("zeroed", page);
            case 5:
                std::generate_n(Page(page), pageBytes_, [&] { return static_cast<std::uint8_t>(random_()); });
                return Text("filled with noise", page);
            case 6:
                return Swap(page);
            case 7:
                return Redirect(page);
            case 8:
                return CutRest(page);
            default:
                return Below(4) == 0 ? CutFile() : FlipBits(page);
        }
    }

    std::string FlipBits(std::size_t page) {
        for (std::size_t n = 1 + Below(8); n > 0; --n) {
            Page(page)[Below(pageBytes_)] ^= static_cast<std::uint8_t>(1U << Below(8));
        }
        return Text("bits of", page);
    }

    std::uint32_t SomeNumber() {
        const std::array<std::uint32_t, 10> choices{0,
                                                    1,
                                                    2,
                                                    0x7FFF,
                                                    0xFFFF,
                                                    0x7FFFFFFF,
                                                    0xFFFFFFFF,
                                                    static_cast<std::uint32_t>(PageCount()),
                                                    static_cast<std::uint32_t>(Below(PageCount())),
                                                    static_cast<std::uint32_t>(random_())};
        return choices[Below(choices.size())];
    }

    std::string SmashField(std::size_t page) {
        PutU32(page, Below(pageBytes_ - 4), SomeNumber());
        return Text("a field of", page);
    }

    /// Counts, links and owners stand at the start of a page.
    std::string SmashHead(std::size_t page) {
        if (Below(2) == 0) {
            PutU16(page, Below(64), SomeNumber() & 0xFFFF);
        } else {
            PutU32(page, Below(64), SomeNumber());
        }
        return Text("the head of", page);
    }

    std::string Swap(std::size_t page) {
        const std::size_t other = 1 + Below(PageCount() - 1);
        if (page == other || page == 0) return Text("nothing on", page);
        std::swap_ranges(Page(page), Page(page) + pageBytes_, Page(other));
        return Text("swapped", page) + " with " + std::to_string(other);
    }

    /// Makes something that looks like a page or row number name another page: chains get loops.
    std::string Redirect(std::size_t page) {
        const auto target = static_cast<std::uint32_t>(Below(2) == 0 ? page : Below(PageCount()));
        for (std::size_t tries = 0; tries < 2000; ++tries) {
            const std::size_t at = Below(pageBytes_ - 4);
            std::uint32_t value = 0;
            std::memcpy(&value, Page(page) + at, sizeof value);
            if (value > 2 && value < PageCount()) {
                PutU32(page, at, target);
                return Text("a page number on", page);
            }
            if (value >> 8 > 2 && value >> 8 < PageCount()) {
                PutU32(page, at, target << 8 | (value & 0xFF));
                return Text("a row number on", page);
            }
        }
        return SmashHead(page);
    }

    std::string CutRest(std::size_t page) {
        const std::size_t from = Below(pageBytes_);
        std::fill(Page(page) + from, Page(page) + pageBytes_, std::uint8_t{0});
        return Text("the rest of", page);
    }

    std::string CutFile() {
        file_->resize(Below(file_->size()));
        return "cut to " + std::to_string(file_->size()) + " bytes";
    }

    std::vector<std::uint8_t>* file_;
    std::mt19937 random_;
    std::size_t pageBytes_;
};

}  // namespace

std::string Corrupt(std::vector<std::uint8_t>& file, std::uint32_t seed) {
    return Vandal(file, seed).Run();
}

}  // namespace marrowkit::test
