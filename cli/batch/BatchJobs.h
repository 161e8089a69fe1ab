#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BatchTable.h"
#include "Option.h"
#include "Parameters.h"
#include "RenderRequest.h"

namespace pyrelux::cli {

/// The renders of a batch, one of each row.
class BatchJobs {
 public:
  /// `common`: what the rows have in common; its output is a pattern with a column's name or "row" in braces, such as
  /// "out/{id}_{name}.mov". `options` fill `request`, which is used up; both must outlive this. Columns are options,
  /// settings, or words for the pattern. Throws ValueError for what no row or one row can mean, naming row and column,
  /// and for two rows of the same output.
  BatchJobs(BatchTable table, const job::RenderRequest &common, const std::vector<Option> &options,
            job::RenderRequest &request, const host::ParameterSet &parameters);

  std::size_t count() const { return table_.rows.size(); }

  /// The number of a row, as people count.
  int row(std::size_t index) const { return table_.rows[index].number; }

  /// The render of a row. One without a seed has the row's number for one.
  job::RenderRequest request(std::size_t index);

 private:
  /// What is done with a column's cells.
  struct Use {
    const Option *option;  ///< that they fill; null for none
    bool isSetting;
  };
  /// A part of the pattern: a text, or a column.
  struct Part {
    bool isColumn;
    std::string text;
  };

  static std::vector<Part> partsOf(const std::string &pattern);
  std::vector<Use> findUses(const std::vector<Option> &options) const;
  void fill(const BatchTable::Row &row);
  std::string outputOf(const BatchTable::Row &row) const;

  BatchTable table_;
  const job::RenderRequest common_;
  job::RenderRequest &request_;
  const host::ParameterSet parameters_;
  std::vector<Part> pattern_;
  std::vector<Use> uses_;  ///< by column
};

/// A cell as a part of a file's name: what would lead out of the folder, hide the file or make a sequence of it is "_".
std::string fileNameOf(const std::string &cell);

}  // namespace pyrelux::cli
