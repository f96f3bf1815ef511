// Memory that is filled at once, in the system's largest pages.
#pragma once

#include <cstddef>
#include <type_traits>

namespace hivequarry {

// Asks for the system's largest pages where `size` bytes of memory that nobody has touched yet are
// at least some of them: filling tables of a million rows page by page costs as much as what is
// filled in. Advice alone; call it after a table got its room and before its first row.
void UseLargePages(void* memory, size_t size);
template <typename Table>
void ReserveLarge(Table& table, size_t rows) {
  table.reserve(rows);
  UseLargePages(table.data(), table.capacity() * sizeof(typename Table::value_type));
}

// Gives the memory that no row needs any more back to the system, though the allocator keeps its
// addresses: programs that keep freed memory for later would have both. The table is empty then.
void ForgetPages(void* memory, size_t size);
template <typename Table>
void ReleaseLarge(Table& table) {
  static_assert(std::is_trivially_destructible_v<typename Table::value_type>);
  ForgetPages(table.data(), table.capacity() * sizeof(typename Table::value_type));
  table = Table();
}

}  // namespace hivequarry
