#include "manual/markdown.h"

#include <optional>

#include <QRegularExpression>

namespace fenwright::manual {
namespace {

constexpr int kLastLatinCharacter = 0x2E7F;
constexpr const char* kItemMarker = "・";

bool IsEastAsian(QChar character) { return character.unicode() > kLastLatinCharacter; }

/// Joins two lines of a paragraph: Japanese text has no blanks.
QString Joined(const QString& first, const QString& second) {
  if (first.isEmpty() || second.isEmpty()) return first + second;
  const bool blank = !IsEastAsian(first.back()) && !IsEastAsian(second.front());
  return first + (blank ? " " : "") + second;
}

/// Splits a table's line at its bars; "\|" is a character.
QStringList Cells(const QString& line) {
  QStringList cells;
  QString cell;
  const QString inner = line.trimmed().sliced(1);
  for (qsizetype index = 0; index < inner.size(); ++index) {
    if (inner.at(index) == '\\' && index + 1 < inner.size()) {
      cell += inner.mid(index++, 2);
    } else if (inner.at(index) == '|') {
      cells.append(cell.trimmed());
      cell.clear();
    } else {
      cell += inner.at(index);
    }
  }
  if (!cell.trimmed().isEmpty()) cells.append(cell.trimmed());
  return cells;
}

bool IsRule(const QString& line) {
  static const QRegularExpression rule(R"(^\|(\s*:?-+:?\s*\|)+$)");
  return rule.match(line.trimmed()).hasMatch();
}

class Reader {
 public:
  explicit Reader(const QString& text) : lines_(text.split('\n')) {}

  Markdown Read() {
    while (next_ < lines_.size() && result_.Error.isEmpty()) ReadBlock();
    return result_;
  }

 private:
  void ReadBlock() {
    const QString line = lines_.at(next_);
    if (line.trimmed().isEmpty()) {
      ++next_;
    } else if (line.startsWith("```")) {
      ReadCode();
    } else if (line.startsWith('|')) {
      ReadTable();
    } else if (line.startsWith('>')) {
      ReadNote();
    } else if (!ReadHeading(line) && !ReadPicture(line) && !ReadItem(line)) {
      ReadParagraph();
    }
  }

  Block& Add(BlockKind kind) {
    result_.Blocks.append({.Kind = kind, .Line = static_cast<int>(next_) + 1});
    return result_.Blocks.back();
  }

  void Fail(qsizetype line, const QString& what) {
    if (result_.Error.isEmpty()) result_.Error = QString::number(line + 1) + ": " + what;
  }

  bool ReadHeading(const QString& line) {
    static const QRegularExpression heading("^(#{1,3}) (.+)$");
    const QRegularExpressionMatch match = heading.match(line);
    if (!match.hasMatch()) return false;
    Block& block = Add(BlockKind::Heading);
    block.Level = static_cast<int>(match.capturedLength(1));
    block.Text = InlineHtml(match.captured(2).trimmed());
    ++next_;
    return true;
  }

  bool ReadPicture(const QString& line) {
    static const QRegularExpression picture(R"(^!\[(.*)\]\((.+)\)(?:\{(\d+)%\})?\s*$)");
    const QRegularExpressionMatch match = picture.match(line);
    if (!match.hasMatch()) return false;
    Block& block = Add(BlockKind::Picture);
    block.Text = InlineHtml(match.captured(1));
    block.Path = match.captured(2);
    block.Percent = match.captured(3).toInt();
    ++next_;
    return true;
  }

  bool ReadItem(const QString& line) {
    static const QRegularExpression item(R"(^( *)(-|\d+\.) +(.+)$)");
    const QRegularExpressionMatch match = item.match(line);
    if (!match.hasMatch()) return false;
    Block& block = Add(BlockKind::Item);
    block.Level = match.capturedLength(1) >= 2 ? 1 : 0;
    block.Marker = match.captured(2) == "-" ? kItemMarker : match.captured(2);
    ++next_;
    block.Text = InlineHtml(JoinedLines(match.captured(3)));
    return true;
  }

  void ReadParagraph() {
    Block& block = Add(BlockKind::Paragraph);
    const QString first = lines_.at(next_++).trimmed();
    block.Text = InlineHtml(JoinedLines(first));
  }

  /// The lines that belong to the text begun, up to an empty line or another block.
  QString JoinedLines(QString text) {
    static const QRegularExpression other(R"(^(#{1,3} |```|\||>|!\[| *(-|\d+\.) ))");
    while (next_ < lines_.size()) {
      const QString& line = lines_.at(next_);
      if (line.trimmed().isEmpty() || other.match(line).hasMatch()) break;
      text = Joined(text, line.trimmed());
      ++next_;
    }
    return text;
  }

  void ReadNote() {
    Block& block = Add(BlockKind::Note);
    QString text;
    while (next_ < lines_.size() && lines_.at(next_).startsWith('>')) {
      text = Joined(text, lines_.at(next_++).sliced(1).trimmed());
    }
    block.Text = InlineHtml(text);
  }

  void ReadCode() {
    const qsizetype start = next_;
    Block& block = Add(BlockKind::Code);
    QStringList code;
    ++next_;
    while (next_ < lines_.size() && !lines_.at(next_).startsWith("```")) {
      code.append(lines_.at(next_++));
    }
    if (next_ == lines_.size()) return Fail(start, "the code block has no end");
    ++next_;
    block.Text = code.join('\n');
  }

  void ReadTable() {
    Block& block = Add(BlockKind::Table);
    const QStringList header = Cells(lines_.at(next_));
    AddRow(block, header);
    if (++next_ == lines_.size() || !IsRule(lines_.at(next_))) {
      return Fail(next_ - 1, "the table has no rule below its header");
    }
    for (const QString& rule : Cells(lines_.at(next_))) {
      block.Widths.append(static_cast<int>(rule.size()));
    }
    if (block.Widths.size() != header.size()) {
      return Fail(next_, "the table's rule and header have different columns");
    }
    for (++next_; next_ < lines_.size() && lines_.at(next_).startsWith('|'); ++next_) {
      const QStringList cells = Cells(lines_.at(next_));
      if (cells.size() != header.size()) {
        return Fail(
            next_,
            QString("the row has %1 cells, the header %2").arg(cells.size()).arg(header.size()));
      }
      AddRow(block, cells);
    }
  }

  static void AddRow(Block& block, const QStringList& cells) {
    QStringList row;
    for (const QString& cell : cells) row.append(InlineHtml(cell));
    block.Rows.append(row);
  }

  QStringList lines_;
  qsizetype next_ = 0;
  Markdown result_;
};

/// The text between `mark` at `index` and its next occurrence; moves `index` behind that.
std::optional<QString> Marked(const QString& text, qsizetype& index, const QString& mark) {
  if (!QStringView(text).sliced(index).startsWith(mark)) return std::nullopt;
  const qsizetype start = index + mark.size();
  const qsizetype end = text.indexOf(mark, start);
  if (end <= start) return std::nullopt;
  index = end + mark.size();
  return text.sliced(start, end - start);
}

std::optional<QString> LinkHtml(const QString& text, qsizetype& index) {
  static const QRegularExpression link(R"(\[([^\]]+)\]\(([^)\s]+)\))");
  const QRegularExpressionMatch match = link.match(text, index, QRegularExpression::NormalMatch,
                                                   QRegularExpression::AnchorAtOffsetMatchOption);
  if (!match.hasMatch()) return std::nullopt;
  index = match.capturedEnd();
  return "<a href=\"" + match.captured(2).toHtmlEscaped() + "\">" + InlineHtml(match.captured(1)) +
         "</a>";
}

}  // namespace

Markdown ReadMarkdown(const QString& text) { return Reader(text).Read(); }

QString InlineHtml(const QString& text) {
  static const QString line_break("<br>");
  QString html;
  for (qsizetype index = 0; index < text.size();) {
    if (text.at(index) == '\\' && index + 1 < text.size()) {
      html += QString(text.at(index + 1)).toHtmlEscaped();
      index += 2;
    } else if (const auto code = Marked(text, index, "`")) {
      html += "<code>" + code->toHtmlEscaped() + "</code>";
    } else if (const auto bold = Marked(text, index, "**")) {
      html += "<b>" + InlineHtml(*bold) + "</b>";
    } else if (const auto link = LinkHtml(text, index)) {
      html += *link;
    } else if (QStringView(text).sliced(index).startsWith(line_break)) {
      html += line_break;
      index += line_break.size();
    } else {
      html += QString(text.at(index)).toHtmlEscaped();
      ++index;
    }
  }
  return html;
}

QString PlainText(const QString& html) {
  static const QRegularExpression tag("<[^>]*>");
  QString text = html;
  return text.remove(tag)
      .replace("&lt;", "<")
      .replace("&gt;", ">")
      .replace("&quot;", "\"")
      .replace("&amp;", "&");
}

}  // namespace fenwright::manual
