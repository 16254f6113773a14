// What the page consists of. The source is made from the files in page/ when the program is built.
#ifndef VESK_LTS_PAGE_PARTS_HPP
#define VESK_LTS_PAGE_PARTS_HPP

#include <string_view>

namespace Vesk::Lts {

// The whole page with places @TITLE@, @DRAWING@ and @DATA@, in this order.
extern const std::string_view PAGE_TEMPLATE;

}  // namespace Vesk::Lts

#endif
