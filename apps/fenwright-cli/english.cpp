#include "english.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace fenwright::cli {
namespace {

/// A text of the engine, or a piece of one between its numbers and names.
struct Piece {
  std::string_view Japanese;
  std::string_view English;
};

constexpr auto kPieces = std::to_array<Piece>({
    // A device that was picked for what is in the socket.
    {"⚠ "
     "コードはデバイスの容量を超えています。超える部分は書き込まれず、上書き保存するとファイルから"
     "失われます。",
     "the code is larger than the device: the rest is not written, and a save drops it"},
    {"⚠ "
     "データはデバイスの容量を超えています。超える部分は書き込まれず、上書き保存するとファイルから"
     "失われます。",
     "the data are larger than the EEPROM: the rest is not written, and a save drops it"},
    // Looking for the board.
    {"ライタと通信中！", "talking to the programmer"},
    {"ライタの準備　ＯＫ ！！", "the programmer is ready"},
    {"ライターを ", "found the programmer on "},
    {"に検出しました。", ""},
    {"ライターを検出できませんでした。使用可能な通信ポートを設定してください。",
     "no programmer was found: name the port that it is on"},
    {"ファームウエアバージョンを読み出せませんでした。",
     "the version of the board's firmware could not be read"},
    {"このソフトは使用できません。\r\nファームウエアバージョン6.38以降にアップデートしてください。",
     "this board cannot be used: update its firmware to version 6.38 or later"},
    {"ライタと通信ができませんでした。\r\nPCとライタの接続を確認後、メニューバーの\r\n["
     "通信チェック] [COMポート選択]を実行して下さい。\r\n",
     "the programmer could not be reached: check how it is connected, and name its port"},
    {"ライタと通信ができませんでした。(レジストリリード)",
     "the programmer could not be reached: no port is stored"},
    {" から返答はありましたが、対応しているライターではありません。ポート番号を確認してください。",
     " answers, but is no supported programmer: check which port it is on"},
    {" のライターのバージョンが数字ではありません。ライターの電源を入れ直してください。それでも読み"
     "出せないときは、ファームウエアをアップデートしてください。",
     " has a programmer whose version is no number: switch it off and on; if that does not help, "
     "update its firmware"},
    {" は開けましたが、ライターとしての返答がありません。ライターの電源、ケーブル、ポート番号を確認"
     "してください。",
     " could be opened, but no programmer answers: check its power, the cable and which port it is "
     "on"},
    {" : 通信ポートがなくなりました。USBケーブルと電源を確認してください。",
     ": the port has gone: check the USB cable and the power"},
    {"ｺﾏﾝﾄﾞ送信 : ", "command sent: "},
    {"ファームウエアバージョンが古いのでアップデートを行なってください。　　　　\r\n　\r\n新しいフ"
     "ァームウエアは、ご購入されたキットに添付されていたＣＤ－ＲＯＭ内、　　　　\r\nまたは、サポー"
     "トページ ",
     "the board's firmware is old: please update it\r\nthe new firmware is on the CD-ROM of the "
     "kit, or at "},
    {"から入手できます。\r\n　\r\nアップデート方法は、サポートページ ",
     "\r\nhow to update it is told at "},
    {"をご覧ください。\r\n　\r\n現在のファームウエアバージョン　 ： KV-LOD350 V",
     "\r\nthe version now: KV-LOD350 V"},
    {"\r\n推奨するファームウエアバージョン ： KV-LOD350 V6.38 "
     "、または、それ以降。　\r\n　\r\n（現在使用中のファームウエアバージョンは、メイン画面の右下に"
     "表示されます。）\r\n",
     "\r\nthe version recommended: KV-LOD350 V6.38 or later"},
    {"デバイスには何も書き込んでいません。デバイスの選択と、ライターのファームウエアバージョンを確"
     "認してください。",
     "the chip was not changed: check the selected device and the version of the board's firmware"},
    // Exchanges.
    {"ｺﾐﾆｭｹｰｼｮﾝ失敗 : ", "communication failed: "},
    {"返答ﾃﾞｰﾀﾐｽ : ", "wrong reply: "},
    {"プログラマは、選択したマイコンを認識できませんでした。",
     "the programmer did not accept the selected device"},
    {"通信エラーが発生しました。", "a communication error occurred"},
    // The chip in the socket.
    {"デバイスがソケットに正しくセットされていないか、プロテクトされています。プロテクトのときは、"
     "チップイレース([イレース]ボタン)を押してください。",
     "the device is not seated well in the socket, or it is locked: \"erase\" frees a locked one"},
    {"デバイスがソケットに正しくセットされていません。",
     "the device is not seated well in the socket"},
    {"デバイス選択と、ソケット上のデバイスが一致しません。\r\n購入直後のデバイスを使用する場合は、"
     "チップイレース(<イレース>ボタン)を実行してください。",
     "the device in the socket is not the selected one; a new device needs an \"erase\" first"},
    {"設定デバイスと、ソケット上のデバイスがミスマッチです。",
     "the selected device and the one in the socket do not match"},
    {"シグネチャの代わりにアドレス(00:01:02)"
     "が読み出されました。デバイスはプロテクトされている可能性があります。",
     "addresses (00:01:02) were read in the place of the signature: the device is perhaps locked"},
    {"ソケットには ", ""},
    {" があります。", " is in the socket"},
    {"ソケットのデバイス(シグネチャ ", "the device in the socket (signature "},
    {")は、対応していないデバイスです。", ") is none that can be programmed"},
    {"ソケットのデバイスを調べています.....", "looking at the device in the socket"},
    {"ソケットのデバイスを読み出せませんでした。", "the device in the socket could not be read"},
    {"ソケットのデバイスは、選択できるデバイスではありません。",
     "the device in the socket is none that can be selected"},
    {"ソケットのデバイスは ", "the device in the socket is "},
    {" です。選択できるデバイスではありません。", ", which cannot be selected"},
    {" です。", ""},
    {"デバイスを ", "the device is now "},
    {" に変更しました。バッファーの内容はそのままです。", "; the buffers are as they were"},
    {"デバイスの容量を超える部分は書き込まれません。",
     "what is beyond the device's memory is not written"},
    // The work on the chip.
    {"チップ イレース中.....", "erasing the chip"},
    {"チップ イレース失敗", "erasing the chip failed"},
    {"チップ イレース完了。", "the chip is erased"},
    {"フラッシュプログラムメモリ プログラム中.....", "writing the flash"},
    {"フラッシュプログラムメモリ プログラム失敗", "writing the flash failed"},
    {"ＥＥＰＲＯＭデータメモリ プログラム中.....", "writing the EEPROM"},
    {"ＥＥＰＲＯＭデータメモリ プログラム失敗", "writing the EEPROM failed"},
    {"全てのメモリは消去されました。", "all memories are erased"},
    {"プログラミングを中止しました。", "programming was given up"},
    {"フラッシュプログラムメモリ　読出し中.....", "reading the flash"},
    {"フラッシュプログラムメモリ 読出し失敗", "reading the flash failed"},
    {"ＥＥＰＲＯＭデータメモリ 読出し中.....", "reading the EEPROM"},
    {"ＥＥＰＲＯＭデータメモリ 読出し失敗", "reading the EEPROM failed"},
    {"リードを中止しました。", "reading was given up"},
    {"プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。",
     "program and data memory, fuse and lock bits are read"},
    {"フラッシュメモリ ベリファイ中.....", "verifying the flash"},
    {"フラッシュメモリ ベリファイ失敗", "verifying the flash failed"},
    {"ＥＥＰＲＯＭデータメモリ ベリファイ中.....", "verifying the EEPROM"},
    {"ベリファイを中止しました。", "verifying was given up"},
    {"ベリファイ終了しました。", "verifying is done"},
    {"ベリファイ　通信エラー", "verify: communication error"},
    {"ベリファイ　FLASH : ", "verify: flash "},
    {" / EEPROM : ", ", EEPROM "},
    {" 　プログラミング正常終了。", "; programming ended well"},
    {"ディスクがいっぱいか、書き込みエラーが発生しました。",
     "the disc is full, or could not be written"},
    {"バッファーをクリアしました。", "the buffers are cleared"},
    // Fuse and lock bits.
    {"Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....", "reading the fuse and lock bits"},
    {"Lock/Fuse bit リードに失敗しました。", "reading the fuse and lock bits failed"},
    {"Lock/Fuse bit リードが完了しました。", "the fuse and lock bits are read"},
    {"Lock/Fuse bit ライト中....", "writing the fuse and lock bits"},
    {"Lock/Fuse bit ライトに失敗しました。", "writing the fuse and lock bits failed"},
    {"Lock/Fuse bit ライトが完了しました。", "the fuse and lock bits are written"},
    {"書込み & ベリファイ 禁止", "writing and verifying locked"},
    {"書込み禁止", "writing locked"},
    {"プロテクトなし", "not locked"},
    {"ＰＢ５またはＰＢ７リセット機能の無効「PB5:I/O」または「PB7:I/"
     "O」を選択しライトした場合、そのデバイスは、このプログラマ(Low-voltage Serial Programming "
     "mode)ではアクセスできなくなります。ＯＴＰデバイスと同じ扱いとなりますので注意してください。",
     "with the reset pin PB5 or PB7 as an I/O pin this programmer (low-voltage serial programming) "
     "can never reach the device again, as if it could be programmed but once"},
    // Files.
    {"ファイルをオープンしました。", "the files are open"},
    {"指定されたファイルを開くことができませんでした。", "the file could not be opened"},
    {"再ロードするファイル名 ： ", "loading again: "},
    {"再ロードするファイルが未指定です。 "
     "一度、メニューバーのファイルからＨＥＸファイルを開くと自動的にファイル名が指定されます。",
     "no file to load again: open one first"},
    {"行目のアドレスがバッファの範囲を超えています。選択したデバイス用のファイルか確認してください"
     "。",
     ": an address in this line is beyond the buffer: check that the file is for the selected "
     "device"},
    {"前に開いたHEXファイルに不正な行があったため、HEXファイルを開けません。プログラムを再起動して"
     "ください。",
     "a HEX file that was opened before had a bad line, so no HEX file can be opened: start the "
     "program again"},
    {"前に開いたHEXファイルに不正な行があったため、HEXファイルを保存できません。プログラムを再起動"
     "してください。",
     "a HEX file that was opened before had a bad line, so no HEX file can be saved: start the "
     "program again"},
    {"HEX ファイルのオープンエラー", "the HEX file could not be opened"},
    {"EEP  ファイルのオープンエラー", "the EEP file could not be opened"},
    {"ファイル保存できませんでした。", "the file could not be saved"},
    {"ファイル保存", "saving a file"},
    {"リードオンリーファイルにアクセスしました。", "the file is read-only"},
    {"ファイルが存在します。上書きしますか？", "the file exists; overwrite it?"},
    {"ファイルがオープンされていません．", "no file is open"},
    {"ファイルがオープンされていません", "no file is open"},
    {"ファイルを保存しました．", "the files are saved"},
    {"ファイルに書き込めないため、処理を中止しました。\r\n",
     "a file cannot be written, so the work was given up\r\n"},
    {"\r\nディスクの空き容量とフォルダーの書き込み許可を確認してから、やり直してください。",
     "\r\ncheck the room on the disc and the rights of the folder, then try again"},
    {"コードファイル(*.hex)の保存", "save a code file (*.hex)"},
    {"データファイル(*.eep)の保存", "save a data file (*.eep)"},
    {"コードファイル ＆ データファイルの保存", "save a code and a data file"},
    {"コードファイル(*.hex)を開く", "open a code file (*.hex)"},
    {"データファイル(*.eep)を開く", "open a data file (*.eep)"},
    {"コードファイル ＆ データファイルを開く", "open a code and a data file"},
    {"秒", " s"},
    {"、", ", "},
    // Ports.
    {" : ライターあり", ": programmer found"},
    {" : ライターなし", ": no programmer"},
    {"疑似端末", "pseudo terminal"},
    {"内蔵シリアルポート", "built-in serial port"},
    {"シミュレーション", "simulation"},
    {"デバイス ", "device "},
    {" を使用する権限がありません。", " may not be used by this user. "},
    {"デバイスの入っているフォルダの権限を確認してください。",
     "Check the rights of the folder that the device is in."},
    {"グループ ", "Group "},
    {" に入っても使用できません。管理者にデバイスの権限の設定を依頼してください。",
     " does not help: ask the administrator for the right to the device."},
    {"端末で \"sudo usermod -aG ", "Run \"sudo usermod -aG "},
    {" $USER\" を実行してグループ ", " $USER\" to join group "},
    {" に入り、一度ログアウトしてログインし直してください。", ", log out and log in again."},
    {" がありません。ライタの接続とポート番号を確認してください。",
     " is not there. Check how the programmer is connected and which port it is on."},
    {" がありません。ライタの接続と、デバイスマネージャーでポート番号を確認してください。",
     " is not there. Check how the programmer is connected, and the port's number in the device "
     "manager."},
    {" は他のプログラムが使用中です。そのプログラムを終了してください。",
     " is in use by another program. End that program."},
    {" はシリアルポートではありません。ポートの指定を確認してください。",
     " is no serial port. Check which one is named."},
    {" が応答しません。このポートの装置がないか、故障しています。ポート番号を確認してください。",
     " does not respond: there is nothing behind this port, or it is broken. Check the port's "
     "number."},
    {" が応答しません。ライタを接続し直してください。",
     " does not respond. Connect the programmer again."},
    {" を開けませんでした。", " could not be opened."},
    {" に対応するデバイスがありません。--port ", " has no device. Name it with --port "},
    {"=(デバイスのパス) で指定してください。", "=DEVICE-PATH."},
    {"通信設定 \"", "The line settings \""},
    {"\" が正しくありません。", "\" make no sense."},
    {"通信ポート ", "The port "},
    {" はこの通信速度や設定に対応していません。", " cannot do this speed or these settings."},
    {"保存されているポート番号 \"", "the stored port number \""},
    {"\" は使用できません。選び直してください。", "\" cannot be used: choose another"},
    {"ポートオープン失敗", "opening the port failed"},
    {" のオープンに失敗しました。\rポート番号を再設定してください。",
     " could not be opened: choose another port"},
    {"ライター接続確認が終了していません。", "the programmer has not been looked for yet"},
    {"使用できます。", "usable."},
    {"このポートのデバイスはありません。", "there is no device for this port."},
    // Why a file or a device cannot be used.
    {"ディスクの空き容量がありません。", "no room on the disc"},
    {"使用できるディスク容量の上限に達しました。", "the disc quota is used up"},
    {"アクセスする権限がありません。", "no right to it"},
    {"この操作は許可されていません。", "this is not permitted"},
    {"ディスクは書き込み禁止です。", "the disc is read-only"},
    {"ファイルまたはフォルダーが見つかりません。", "there is no such file or folder"},
    {"ファイルではなくフォルダーです。", "it is a folder"},
    {"パスの途中の名前がフォルダーではありません。", "a name in the path is no folder"},
    {"シンボリックリンクのため書き込みません。", "it is a symbolic link, which is not written to"},
    {"シンボリックリンクをたどりきれません。", "the symbolic links have no end"},
    {"通常のファイルではありません。", "it is no regular file"},
    {"同じ名前のファイルがあります。", "there is a file of that name"},
    {"ファイルの名前が長すぎます。", "the file's name is too long"},
    {"ファイルの名前に使えない文字があります。",
     "the file's name has a character that names cannot have"},
    {"ファイルが大きすぎます。", "the file is too large"},
    {"開いているファイルが多すぎます。", "too many files are open"},
    {"他のプログラムが使用中です。", "another program uses it"},
    {"実行中のプログラムのファイルです。", "it is the file of a program that runs"},
    {"メモリーが足りません。", "out of memory"},
    {"装置の入出力エラーです。", "an input or output error of the device"},
    {"装置がありません。取り外された可能性があります。", "the device is gone, unplugged perhaps"},
    {"シリアルポートではありません。", "it is no serial port"},
    {"別のディスクへは移動できません。", "it cannot be moved to another disc"},
    {"時間内に応答がありません。", "no answer in time"},
    {"システムが受け付けない操作です。", "the system does not accept it"},
    // The board's own firmware.
    {"アップデート中です。電源は絶対に切らないでください。",
     "updating: do not switch the board off"},
    {"警告：このファイルでアップデートしないでください。", "warning: do not update with this file"},
    {"ポート番号を設定してください。", "choose a port"},
    {"アップデートファイルがロードされていません。", "no update file is loaded"},
    {"ファイル名：", "file: "},
    {"を指定しました。", " is chosen"},
    {"アップデート完了。  ", "update done, "},
    {"　　　 ファームウエアアップデートが完了しました。  電源を再投入してください。  "
     "　　　　　　　\r\n　",
     "the firmware is updated; switch the board off and on"},
    {"***　アップデート失敗　*** Address=0x", "the update failed at address 0x"},
    {"　　　***　アップデート失敗　***　　　　　　\r\n　", "the update failed"},
    {"***　アップデート失敗　***", "the update failed"},
    {"ファームウエアアップデート", "update of the firmware"},
    {"途中でファームウエアアップデートが失敗しました。\r\nアップデートが正常に終了できなかったので"
     "、アップデート作業を再開できない確立が高いです。このような場合は、通常の書き込みを行なう必要"
     "があります。\r\n　　　　　　　error data = 0x",
     "the update of the firmware failed on its way; most likely it cannot be resumed, and the "
     "board's microcontroller has to be programmed in the ordinary way\r\nerror data = 0x"},
    {"１．通信ポートを指定してください。\r\n２．[Version "
     "Read]ボタンを押して、バージョンが表示されると通信確認完了です。\r\n３．[OPEN]"
     "ボタンを押して、アップデートファイルを指定してください。 "
     "[kvldxxx.hex]\r\n４．[UPDATE]ボタンを押してください。ファイルのアップデータが開始されます。",
     "name the port and the update file; the version shows that the board answers"},
    {"アップデータを開く", "open an update file"},
    {"アップデータファイル|*.HEX|全てのファイル|*.*|", "update files|*.HEX|all files|*.*|"},
    {"アップデートを中止しました。", "the update was stopped"},
    {"警告：ポート番号が選ばれていないので、", "warning: no port is chosen, so "},
    {" を使います。ライターをつないだ番号を選んでください。",
     " is used: name the one that the programmer is on"},
    {"シミュレーションのライター（実際のポートは使いません）",
     "simulated programmer, no real port is used"},
    {"通信ポートをオープンできませんでした。", "the port could not be opened"},
    {"　　***　ファームウエアアップデート　コミュニケーション失敗。　***　　　　　　\r\n　",
     "update of the firmware: the board could not be reached"},
    {"ファームウエアバージョンをリードしました。", "the version of the firmware was read"},
    {"のオープンに失敗しました。\rポート番号を再設定してください。",
     " could not be opened: choose another port"},
    {"COMポート選択", "choice of the COM port"},
    // Settings.
    {"設定の値が正しくありません。\r\nセクション ", "a setting makes no sense: section "},
    {"、キー ", ", key "},
    {"、値 \"", ", value \""},
    {"この値を削除するか、数字に直してから起動してください。",
     "remove this value, or make it a number"},
    {"この値を削除するか、-1 から ", "remove this value, or make it a number from -1 to "},
    {" の数字に直してから起動してください。", ""},
    {"ﾍﾙﾌﾟの目次を表示できません。 このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。",
     "the manual cannot be shown: there is none"},
    {"ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : ", "program memory: "},
    {"EEPROMﾃﾞｰﾀﾒﾓﾘ: ", "EEPROM data memory: "},
    {"ｻﾎﾟｰﾄﾍﾟｰｼﾞ : ", "support page: "},
    {"入力データに誤りがあります．", "the data are no hexadecimal number"},
    {"Flash アドレスが範囲を超えています．", "the flash address is out of range"},
    {"EEPROM アドレスが範囲を超えています．", "the EEPROM address is out of range"},
});

/// The longest piece that the text begins with, or null.
const Piece* PieceAt(std::string_view text) {
  const Piece* longest = nullptr;
  for (const Piece& piece : kPieces) {
    const bool longer = longest == nullptr || piece.Japanese.size() > longest->Japanese.size();
    if (longer && text.starts_with(piece.Japanese)) longest = &piece;
  }
  return longest;
}

}  // namespace

std::string EnglishOf(std::string_view text) {
  constexpr std::string_view kWideBlank = "　";
  std::string english;
  while (!text.empty()) {
    if (const Piece* const piece = PieceAt(text)) {
      english += piece->English;
      text.remove_prefix(piece->Japanese.size());
    } else if (text.starts_with(kWideBlank)) {
      english += ' ';
      text.remove_prefix(kWideBlank.size());
    } else {
      english += text.front();
      text.remove_prefix(1);
    }
  }
  return english;
}

}  // namespace fenwright::cli
