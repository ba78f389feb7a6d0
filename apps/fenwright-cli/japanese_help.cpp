#include <algorithm>
#include <array>

#include "help.h"

namespace fenwright::cli {
namespace {

struct HelpText {
  std::string_view English;
  std::string_view Japanese;
};

constexpr auto kHelpTexts = std::to_array<HelpText>({
    {"Programs AT90S and ATtiny microcontrollers on a programmer board.",
     "AT90S、ATtinyマイクロコントローラーに、ライターで書き込みます。"},
    // Options of every verb.
    {"Print this help message and exit", "使い方を出します"},
    {"Display program version information and exit", "バージョンを出します"},
    {"port of the programmer: COM1 to COM256, COMn=PATH, or a device path; given again, or "
     "\"all\", "
     "several boards work at once",
     "ライターのポート: COM1～COM256、COMn=パス、またはデバイスのパス。繰り返すか all "
     "で、いくつものボードを同時に使います"},
    {"use the built-in simulated board, whatever the port",
     "ポートに関係なく、シミュレーターを使います"},
    {"chip in the simulated board's socket (default: the selected device)",
     "シミュレーターのソケットのチップ (指定しないと、選んだデバイス)"},
    {"what goes wrong on the simulated board; may be given again:",
     "シミュレーターで起こす故障。何度でも指定できます:"},
    {"device in the socket: its name, an unambiguous part of it, or \"auto\" for the one that is "
     "found there",
     "ソケットのデバイス: 名前、一つに決まる名前の一部、または auto (ソケットから読みます)"},
    {"folder to keep the trace, the dumps and the report in; none is kept without it",
     "記録、ダンプ、レポートを置くフォルダー。指定しないと残しません"},
    {"file for every byte on the line, which \"fenwright-board\" can play again",
     "通信のすべてのバイトを記録するファイル。fenwright-board で再生できます"},
    {"print the result as one JSON object, and nothing else",
     "結果を一つのJSONで出し、ほかは何も出しません"},
    {"print errors only", "エラーだけを出します"},
    {"print every status text, as the trace has them",
     "ステータスの文を、記録と同じだけすべて出します"},
    // Faults.
    {"no reply at all", "返答がまったくありません"},
    {"no reply from the N-th on", "N番目から返答がありません"},
    {"the N-th reply is lost", "N番目の返答が失われます"},
    {"the N-th reply comes MS milliseconds later", "N番目の返答がMSミリ秒遅れます"},
    {"the second half of the N-th reply comes MS milliseconds later",
     "N番目の返答の後ろ半分がMSミリ秒遅れます"},
    {"the N-th reply comes twice", "N番目の返答が二度来ます"},
    {"byte BYTE (1) of the N-th reply is XORed with HEXMASK (01)",
     "N番目の返答のBYTE番目 (1) のバイトをHEXMASK (01) で反転します"},
    {"the N-th write is acknowledged and not carried out",
     "N番目の書き込みが、応答だけで行われません"},
    {"a bit (0-15) of a flash word always reads V",
     "フラッシュのワードのビット (0-15) がいつもVと読めます"},
    {"a bit (0-7) of an EEPROM byte always reads V",
     "EEPROMのバイトのビット (0-7) がいつもVと読めます"},
    {"the line hangs up when the N-th byte has arrived", "Nバイト目が届いたとき、線が切れます"},
    {"the board's power fails for a moment when the N-th byte arrives",
     "Nバイト目が届くとき、ボードの電源が一瞬切れます"},
    // Verbs.
    {"list the devices", "対応するデバイスを一覧にします"},
    {"erase, program and verify the device", "デバイスを消去し、書き込み、ベリファイします"},
    {"do a job: program, verify, fuses, lock, as a job file says",
     "ジョブファイルのとおりに、書き込み、ベリファイ、ヒューズ、ロックをします"},
    {"put a safety copy back: memories, then fuse and lock bits",
     "コピーを戻します: メモリー、次にヒューズビットとロックビット"},
    {"read the device's memories and save them", "デバイスのメモリーを読み、保存します"},
    {"compare the device with files and print the differences",
     "デバイスをファイルと比べ、違いを出します"},
    {"compare code files, safety copies and the device, any two of them, side by side",
     "コードファイル、コピー、デバイスのうち二つを、並べて比べます"},
    {"erase the device", "デバイスを消去します"},
    {"read the device's fuse and lock bits and calibration bytes",
     "デバイスのヒューズビット、ロックビット、発振校正値を読みます"},
    {"write fuse and lock bits; fields that are not named keep what the device has, or their "
     "defaults where it cannot be read",
     "ヒューズビット、ロックビットを書きます。書かない項目はデバイスの値のまま、読めないデバイスで"
     "は"
     "初めの値にします"},
    {"print the dump of a code file and of the data file with it; needs no programmer",
     "コードファイルと、組になるデータファイルの内容を表示の形で出します。ライターは要りません"},
    {"check a code file, and the data file with it, for the device; needs no programmer",
     "コードファイルと、組になるデータファイルを、デバイスに合うか調べます。ライターは要りません"},
    {"list COM1 to COM20: device, adapter, and whether it can be used",
     "COM1～COM20を一覧にします: デバイス、アダプター、使えるかどうか"},
    {"look for the programmer, and offer it the device if one is named",
     "ライターを探します。デバイスを指定すると、受け付けるかも調べます"},
    {"read the signature of the chip in the socket and print the devices that have it",
     "ソケットのチップのシグネチャーを読み、当てはまるデバイスを出します"},
    {"read the signature first, and erase the selected device alone",
     "先にシグネチャーを読み、選んだデバイスのときだけ消去します"},
    {"print every difference, not the first 32 alone",
     "最初の32か所だけでなく、違いをすべて出します"},
    {"code file, safety copy (.json), or \"chip\" for what is in the socket; \"-\" reads standard "
     "input",
     "コードファイル、またはコピー (.json)。chip はソケットのチップ、\"-\" は標準入力です"},
    {"compare the flash alone, not the EEPROM, the data files and the fuses",
     "フラッシュだけを比べ、EEPROM、データファイル、ヒューズは比べません"},
    {"print every line that differs, not the first 32 alone",
     "最初の32行だけでなく、違う行をすべて出します"},
    {"format of the code file: hex, srec, elf or bin (default: as its content says)",
     "コードファイルの形式: hex、srec、elf、bin (指定しないと、内容で決めます)"},
    {"measure how long the programmer takes to answer, and what that means for programming",
     "ライターの返答の速さを測り、書き込みにかかる時間を見積もります"},
    {"print the version of the board's own firmware",
     "ライターのファームウエアのバージョンを出します"},
    {"replace the board's own firmware", "ライターのファームウエアを書き換えます"},
    {"say what a code means, what to check and what to do",
     "コードの意味と、確かめること、対処を出します"},
    {"say what a verb does and what it takes, with examples",
     "サブコマンドの働きとオプションを、例と一緒に出します"},
    {"print the script that completes verbs, options and their values in a shell",
     "サブコマンド、オプション、値をシェルで補完するスクリプトを出します"},
    // What they take.
    {"code file: Intel HEX, or by objcopy what an ELF file or S-records hold; \"-\" reads standard "
     "input",
     "コードファイル: Intel HEX。ELF と S レコードは objcopy で変換します。\"-\" は標準入力です"},
    {"data file for the EEPROM (default: the code file's name with its last three characters "
     "replaced by \"eep\", when there is such a file)",
     "EEPROMのデータファイル (指定しないと、コードファイルの名前の最後の3文字を eep "
     "に替えたファイルがあれば、それ)"},
    {"treat the EEPROM image as blank", "EEPROMのデータを使いません"},
    {"take files that cannot be meant as they are (data beyond the device, wrong checksums, ...), "
     "with warnings",
     "そのままでは使えないファイル (デバイスの外のデータ、チェックサムの違いなど) も、警告だけで"
     "使います"},
    {"file to save the flash to, Intel HEX; \"-\" writes standard output",
     "フラッシュを保存するファイル、Intel HEX。\"-\" は標準出力です"},
    {"file to save the EEPROM to, Intel HEX; \"-\" writes standard output",
     "EEPROMを保存するファイル、Intel HEX。\"-\" は標準出力です"},
    {"overwrite files that exist", "すでにあるファイルに上書きします"},
    {"read everything twice and compare: takes twice the time",
     "二回読んで比べます。時間は二倍かかります"},
    {"a field as read-fuses names it, and an item of its list, by its text or its position from 0; "
     "LOCK also takes write-verify (0), write (1) or none (2)",
     "read-fuses が出す項目の名前と、一覧の値。値は文か、0からの番号。LOCKは write-verify (0)、"
     "write (1)、none (2) でも"},
    {"fields that are not named get their defaults", "書かない項目を初めの値にします"},
    {"show what would be written and write nothing", "書くバイトを出すだけで、書きません"},
    {"allow a choice after which the programmer can never reach the device again",
     "ライターから二度と使えなくなる書き込みを許します"},
    {"folder for a safety copy of the device, taken and checked before anything is erased or "
     "written; \"restore\" puts it back",
     "消去や書き込みの前に、デバイスの内容を二回読んでコピーを作るフォルダー。restore で戻せます"},
    {"go on without what a locked device does not give away",
     "プロテクトされていて読めない内容は、あきらめて進みます"},
    {"read the EEPROM before the erase and write it back after, verified",
     "消去の前にEEPROMを読み、後で書き戻して照合します"},
    {"put a serial number into the image: flash:0x1FFC=next:4 takes the counter's next number, a "
     "number in the place of \"next\" is itself; behind it bytes (1 to 8), little or big, step",
     "シリアル番号を書き込みます: flash:0x1FFC=next:4 は --counter の次の番号、next の代わりに数を"
     "書くとその番号。その後はバイト数 (1～8)、little か big、増分です"},
    {"file that counts the serial numbers; none is ever given twice",
     "シリアル番号を数えるファイル。同じ番号は二度使いません"},
    {"make the counter's file, and begin with that number",
     "番号のファイルを新しく作り、この番号から始めます"},
    {"put the chip's calibration byte into the image, for example at eeprom:0x00; eeprom:0x00=1 "
     "puts its second one there",
     "チップの発振校正値を書き込みます。場所は eeprom:0x00 など。eeprom:0x00=1 は二つ目の値です"},
    {"job file: docs/job.md describes it", "ジョブファイル。書き方は docs/job.md にあります"},
    {"tell what would be done, and send nothing", "何をするかを出すだけで、何も送りません"},
    {"run the job on the simulated board first, and stop when it fails there",
     "先にシミュレーターで同じジョブを行い、失敗したら始めません"},
    {"chip after chip: wait for the next one in the socket, until Ctrl-C",
     "チップを替えるたびに繰り返します。Ctrl-C で終わります"},
    {"with --repeat: each chip begins with the Enter key",
     "--repeat で、チップごとに Enter キーで始めます"},
    {"program again each time a file has changed, until Ctrl-C",
     "ファイルが変わるたびに書き込みます。Ctrl-C で終わります"},
    {"description of a safety copy that --backup has taken",
     "--backup が作ったコピーの説明ファイル"},
    {"write neither fuse nor lock bits", "ヒューズビットとロックビットを書き込みません"},
    {"firmware file, Intel HEX", "ファームウエアのファイル、Intel HEX"},
    {"do not ask", "確認しません"},
    {"check the file and say what would be sent", "ファイルを調べ、送るものを出すだけです"},
    {"a code that an error or a warning has (default: all)",
     "エラーや警告のコード (指定しないと、すべて)"},
    {"the verb that is meant (default: all)", "サブコマンドの名前 (指定しないと、すべて)"},
    {"the shell that the script is for", "スクリプトを使うシェル"},
});

std::string OfLine(std::string_view line) {
  // A row of a list: a word, blanks, and what it does.
  constexpr std::string_view kIndent = "  ";
  std::size_t start = 0;
  if (line.starts_with(kIndent)) {
    start = line.find_first_not_of(' ', line.find(' ', kIndent.size()));
    if (start == std::string_view::npos) return std::string(line);
  }
  const auto found = std::ranges::find(kHelpTexts, line.substr(start), &HelpText::English);
  if (found == kHelpTexts.end()) return std::string(line);
  return std::string(line.substr(0, start)).append(found->Japanese);
}

}  // namespace

std::string JapaneseHelpOf(std::string_view english) {
  std::string text;
  std::size_t start = 0;
  for (std::size_t end = english.find('\n'); end != std::string_view::npos;
       end = english.find('\n', start)) {
    text += OfLine(english.substr(start, end - start)) + "\n";
    start = end + 1;
  }
  return text + OfLine(english.substr(start));
}

}  // namespace fenwright::cli
