#include "manual/pages.h"

namespace fenwright::manual {
namespace {

/// The index behind the chain of pieces that starts at `first`.
std::size_t ChainEnd(const std::vector<Piece>& pieces, std::size_t first) {
  std::size_t last = first;
  while (pieces[last].KeepWithNext && last + 1 < pieces.size() && !pieces[last + 1].StartsPage) {
    ++last;
  }
  return last + 1;
}

double ChainHeight(const std::vector<Piece>& pieces, std::size_t first, std::size_t end) {
  double height = pieces[first].Height;
  for (std::size_t index = first + 1; index < end; ++index) {
    height += pieces[index].SpaceBefore + pieces[index].Height;
  }
  return height;
}

}  // namespace

std::vector<Page> Paginate(const std::vector<Piece>& pieces, double page_height) {
  std::vector<Page> pages;
  double used = 0;
  const auto start_page = [&pages, &used] {
    pages.emplace_back();
    used = 0;
  };
  for (std::size_t index = 0; index < pieces.size(); ++index) {
    const Piece& piece = pieces[index];
    const double chain = ChainHeight(pieces, index, ChainEnd(pieces, index));
    const double wanted = chain <= page_height ? chain : piece.Height;
    const bool fits = !pages.empty() && used + piece.SpaceBefore + wanted <= page_height;
    if (pages.empty() || (piece.StartsPage && !pages.back().empty()) || (!fits && used > 0)) {
      start_page();
      if (piece.TableHeader) {
        pages.back().push_back({piece.TableHeader.get(), 0});
        used = piece.TableHeader->Height;
      }
    }
    if (!pages.back().empty()) used += piece.SpaceBefore;
    pages.back().push_back({&piece, used});
    used += piece.Height;
  }
  return pages;
}

}  // namespace fenwright::manual
