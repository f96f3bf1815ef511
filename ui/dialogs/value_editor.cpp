// One value's bytes, in one of four forms. While the form is text, lines or a number, each change
// of its control is read into `data`; the form of bytes has its own in the hex control. Another
// form or type begins with the bytes of the one before, so nothing is lost on the way.
#include "ui/dialogs/value_editor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwctype>
#include <optional>
#include <utility>

#include "hive/value_input.h"
#include "ui/draw/text_size.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/hex/hex_edit.h"
#include "ui/resources/resource.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

using Bytes = std::vector<uint8_t>;

// Lives as long as its dialog.
struct Editor {
  explicit Editor(const EditedValue& value) : edit(value), type(value.type), data(value.data) {}

  HWND dialog = nullptr;
  const EditedValue& edit;
  uint32_t type;
  InputForm form = InputForm::kBytes;  // of the controls that are shown
  Bytes data;                          // what they say; that of kBytes is in the hex control
  bool filling = false;                // their changes are the program's own
  DialogLayout layout;
};

constexpr DialogAnchor kValueEditorAnchors[] = {
    {.control = kEditKey, .grow_x = true},
    {.control = kEditName, .grow_x = true},
    {.control = kEditText, .grow_x = true, .grow_y = true},
    {.control = kEditLines, .grow_x = true, .grow_y = true},
    {.control = kEditBytes, .grow_x = true, .grow_y = true},
    {.control = kEditPlace, .move_y = true, .grow_x = true},
    {.control = kEditMessage, .move_y = true, .grow_x = true},
    {.control = kEditMemoryOnly, .move_y = true},
    {.control = IDOK, .move_x = true, .move_y = true},
    {.control = IDCANCEL, .move_x = true, .move_y = true},
};

// What belongs to each form; `input` holds its text.
struct FormControls {
  InputForm form;
  int input;
  const wchar_t* title;  // of the button that shows the form
  // UTF-16 units. The system's edit control takes seconds for more, in one wrapped line far sooner
  // than in many.
  size_t longest;
};
constexpr FormControls kForms[] = {
    {InputForm::kText, kEditText, L"As &text", 1 << 14},
    {InputForm::kLines, kEditLines, L"As &lines of text", 1 << 17},
    {InputForm::kNumber, kEditNumber, L"As a n&umber", 1 << 14},
    {InputForm::kBytes, kEditBytes, L"", 0},
};
const FormControls& ControlsOf(InputForm form) { return kForms[static_cast<size_t>(form)]; }
static_assert(kForms[static_cast<size_t>(InputForm::kText)].form == InputForm::kText &&
              kForms[static_cast<size_t>(InputForm::kLines)].form == InputForm::kLines &&
              kForms[static_cast<size_t>(InputForm::kNumber)].form == InputForm::kNumber &&
              kForms[static_cast<size_t>(InputForm::kBytes)].form == InputForm::kBytes);

HWND Control(const Editor& editor, int control) { return GetDlgItem(editor.dialog, control); }
HWND InputOf(const Editor& editor) { return Control(editor, ControlsOf(editor.form).input); }

// For the form of its type.
bool IsTooLong(const Editor& editor) {
  return editor.data.size() / 2 > ControlsOf(FormOfType(editor.type)).longest;
}

std::u16string TextIn(HWND control) {
  const std::wstring text = TextOfControl(control);
  return {text.begin(), text.end()};
}

void SetText(HWND control, const std::u16string& text) {
  SetWindowTextW(control, reinterpret_cast<const wchar_t*>(text.c_str()));
}

// --- words ---------------------------------------------------------------------------------------

// Beside the field that it is about.
void Tell(const Editor& editor, const std::wstring& message) {
  const bool number = editor.form == InputForm::kNumber;
  SetWindowTextW(Control(editor, kEditMessage), number ? L"" : message.c_str());
  SetWindowTextW(Control(editor, kEditNumberMessage), number ? message.c_str() : L"");
}

std::wstring Format(const wchar_t* format, auto... arguments) {
  std::array<wchar_t, 200> text{};
  std::swprintf(text.data(), text.size(), format, arguments...);
  return text.data();
}

unsigned NumberSize(uint32_t type) { return type == kRegQword ? 8 : 4; }

// "Empty line (line 3)".
std::wstring WordsOf(const InputError& error, const Editor& editor, const std::u16string& text) {
  std::wstring words = WindowText(error.word);
  if (editor.form == InputForm::kNumber) {
    return Format(L"Not a number of %u bytes: ", NumberSize(editor.type)) + words + L".";
  }
  if (!words.empty()) words[0] = static_cast<wchar_t>(std::towupper(words[0]));
  const auto position = static_cast<ptrdiff_t>(std::min(error.position, text.size()));
  if (editor.form == InputForm::kText) {
    return words + Format(L" (character %u).", static_cast<unsigned>(position + 1));
  }
  const auto line = 1 + std::count(text.begin(), text.begin() + position, u'\n');
  return words + Format(L" (line %u).", static_cast<unsigned>(line));
}

// Why data are shown as bytes though their type has a form of its own.
std::wstring WhyBytes(const Editor& editor) {
  const auto length = static_cast<unsigned>(editor.data.size());
  const bool too_long = IsTooLong(editor);
  switch (FormOfType(editor.type)) {
    case InputForm::kText:
      return too_long ? L"Shown as bytes: too long for an edit line."
                      : L"Shown as bytes: not all of it would be kept as text.";
    case InputForm::kLines:
      return too_long ? L"Shown as bytes: too long for edit lines."
                      : L"Shown as bytes: not all of it would be kept as lines.";
    case InputForm::kNumber:
      return Format(L"Shown as bytes: a number of this type has %u bytes, these are %u.",
                    NumberSize(editor.type), length);
    default:
      return std::wstring();
  }
}

// Below the bytes: where the caret is, in the data and in the file, and how typing goes on.
std::wstring HexPlaceText(HWND hex) {
  const HexBytes& model = HexBytesOf(hex);
  const auto caret = static_cast<unsigned>(model.caret.position);
  std::wstring text = Format(L"Offset 0x%X (%u)", caret, caret);
  const auto in_file = HexFilePosition(hex, model.caret.position);
  if (in_file) text += Format(L"     In file 0x%08X", static_cast<unsigned>(*in_file));
  text += Format(L"     Length %u bytes", static_cast<unsigned>(ByteCount(model)));
  const HexRange selection = SelectionOf(model);
  if (Length(selection) != 0) {
    text += Format(L"     Selected %u", static_cast<unsigned>(Length(selection)));
  }
  return text + (model.overwrite ? L"     Overwrite" : L"     Insert");
}

void ShowPlace(const Editor& editor) {
  const bool bytes = editor.form == InputForm::kBytes;
  const std::wstring text =
      bytes ? HexPlaceText(InputOf(editor))
            : Format(L"Length %u bytes", static_cast<unsigned>(editor.data.size()));
  SetWindowTextW(Control(editor, kEditPlace), text.c_str());
}

// --- from controls to data -----------------------------------------------------------------------

// What the input says; digits alone are hexadecimal where that is chosen.
InputData ReadInput(const Editor& editor, InputError& error, std::u16string& text) {
  text = TextIn(InputOf(editor));
  if (editor.form == InputForm::kNumber && text.find_first_of(u"xX") == std::u16string::npos &&
      IsDlgButtonChecked(editor.dialog, kEditHexadecimal) == BST_CHECKED) {
    const size_t first = std::min(text.find_first_not_of(u" \t"), text.size());
    text.insert(first, u"0x");
  }
  return DataOfInput(editor.type, text, error);
}

// With wrong input there is nothing that OK, another form or another type could go on from.
void EnableLeaving(const Editor& editor, bool can) {
  for (const int control : {IDOK, kEditType, kEditInForm, kEditAsBytes}) {
    EnableWindow(Control(editor, control), can ? TRUE : FALSE);
  }
}

// At each change: `data` is what the input stands for as long as it stands for something; else the
// dialog cannot be left, and says why.
void JudgeInput(Editor& editor) {
  InputError error;
  std::u16string text;
  InputData data = ReadInput(editor, error, text);
  EnableLeaving(editor, data.has_value());
  Tell(editor, data ? std::wstring() : WordsOf(error, editor, text));
  if (!data) {
    SetWindowTextW(Control(editor, kEditPlace), L"");
    return;
  }
  editor.data = std::move(*data);
  ShowPlace(editor);
}

// Data of the form that is shown.
const Bytes& DataOf(const Editor& editor) {
  return editor.form == InputForm::kBytes ? HexBytesOf(InputOf(editor)).bytes : editor.data;
}

// --- from data to controls -----------------------------------------------------------------------

// A control would change such text, so it is edited as bytes.
bool HasLoneSurrogate(const std::u16string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0xF800) != 0xD800) continue;
    const bool pair = text[i] < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
    if (!pair) return true;
    ++i;
  }
  return false;
}

// The text for the data in the form of their type; nothing when something would be lost.
std::optional<std::u16string> TextFor(const Editor& editor, bool decimal) {
  if (IsTooLong(editor)) return std::nullopt;
  InputText input = InputOfData(editor.type, editor.data, decimal);
  if (!input.exact || HasLoneSurrogate(input.text)) return std::nullopt;
  const bool prefixed = FormOfType(editor.type) == InputForm::kNumber && !decimal;
  return prefixed ? input.text.substr(2) : std::move(input.text);
}

bool FillForm(Editor& editor, const std::u16string& text) {
  const HWND input = Control(editor, ControlsOf(FormOfType(editor.type)).input);
  editor.filling = true;
  SetText(input, text);
  editor.filling = false;
  // Line ends of other systems and the like are up to the control.
  return TextIn(input) == text;
}

bool IsDecimal(const Editor& editor) {
  return IsDlgButtonChecked(editor.dialog, kEditDecimal) == BST_CHECKED;
}

void FillHex(const Editor& editor) {
  const HWND hex = Control(editor, kEditBytes);
  // What is there already keeps its history.
  if (HexBytesOf(hex).bytes == editor.data && !editor.data.empty()) return;
  FilePosition in_file;
  const EditedValue& edit = editor.edit;
  if (edit.file_position) {
    in_file = [&edit](uint32_t position) {
      return position < edit.data.size() ? edit.file_position(position) : kHexNoPosition;
    };
  }
  SetHexBytes(hex, editor.data, std::move(in_file));
}

// All that a form shows.
constexpr std::pair<int, InputForm> kShown[] = {{kEditText, InputForm::kText},
                                                {kEditLines, InputForm::kLines},
                                                {kEditNumberLabel, InputForm::kNumber},
                                                {kEditNumber, InputForm::kNumber},
                                                {kEditHexadecimal, InputForm::kNumber},
                                                {kEditDecimal, InputForm::kNumber},
                                                {kEditNumberMessage, InputForm::kNumber},
                                                {kEditBytes, InputForm::kBytes}};

// All forms have their controls in the same place; one is shown.
void ShowForm(Editor& editor, InputForm form) {
  editor.form = form;
  for (const auto& [control, of_form] : kShown) {
    ShowWindow(Control(editor, control), of_form == form ? SW_SHOWNA : SW_HIDE);
  }
  const InputForm of_type = FormOfType(editor.type);
  SetWindowTextW(Control(editor, kEditInForm), ControlsOf(of_type).title);
  for (const int button : {kEditInForm, kEditAsBytes}) {
    ShowWindow(Control(editor, button), of_type != InputForm::kBytes ? SW_SHOWNA : SW_HIDE);
  }
  CheckRadioButton(editor.dialog, kEditInForm, kEditAsBytes,
                   form == InputForm::kBytes ? kEditAsBytes : kEditInForm);
  ShowPlace(editor);
}

void ShowAsBytes(Editor& editor, const std::wstring& why) {
  FillHex(editor);
  ShowForm(editor, InputForm::kBytes);
  Tell(editor, why);
}

// In the form of the type where that keeps everything, else as bytes. Of no data at all nothing can
// be lost, so that `wanted` begins with an empty text, and a number with 0.
void ShowInForm(Editor& editor, bool wanted) {
  const InputForm form = FormOfType(editor.type);
  if (form == InputForm::kBytes) return ShowAsBytes(editor, std::wstring());
  auto text = TextFor(editor, IsDecimal(editor));
  if (!text && wanted && editor.data.empty()) text = form == InputForm::kNumber ? u"0" : u"";
  if (!text || !FillForm(editor, *text)) return ShowAsBytes(editor, WhyBytes(editor));
  ShowForm(editor, form);
  JudgeInput(editor);
}

// --- what the user does --------------------------------------------------------------------------

// The data stay as they are, byte for byte; the form is that of the new type.
void OnTypeChosen(Editor& editor) {
  const HWND box = Control(editor, kEditType);
  editor.data = DataOf(editor);
  editor.type = static_cast<uint32_t>(ComboBox_GetItemData(box, ComboBox_GetCurSel(box)));
  ShowInForm(editor, false);
}

// The data go over as they are at that moment, by way of their bytes.
void OnFormChosen(Editor& editor, bool bytes) {
  if (bytes == (editor.form == InputForm::kBytes)) return;
  editor.data = DataOf(editor);
  if (bytes) {
    ShowAsBytes(editor, std::wstring());
  } else {
    ShowInForm(editor, true);
  }
}

// The same number in the other notation; what is none yet is read anew.
void OnNotationChosen(Editor& editor) {
  const bool valid = IsWindowEnabled(Control(editor, IDOK)) != FALSE;
  const auto text = valid ? TextFor(editor, IsDecimal(editor)) : std::nullopt;
  if (text) FillForm(editor, *text);
  JudgeInput(editor);
}

// The control holds one byte more than a value that the program reads.
void OnHexNotice(const Editor& editor, WORD notice) {
  const HWND hex = Control(editor, kEditBytes);
  const bool fits = ByteCount(HexBytesOf(hex)) < kMaxValueData;
  EnableLeaving(editor, fits);
  const wchar_t* complaint = fits ? L"" : L"Too long: a value has at most 5,242,879 bytes.";
  Tell(editor, notice == kHexRefused ? HexRefusal(hex) : complaint);
  ShowPlace(editor);
}

void OnCommand(Editor& editor, int control, WORD notice) {
  switch (control) {
    case kEditType:
      if (notice == CBN_SELCHANGE) OnTypeChosen(editor);
      return;
    case kEditInForm:
    case kEditAsBytes:
      if (notice == BN_CLICKED) OnFormChosen(editor, control == kEditAsBytes);
      return;
    case kEditHexadecimal:
    case kEditDecimal:
      if (notice == BN_CLICKED) OnNotationChosen(editor);
      return;
    case kEditText:
    case kEditLines:
    case kEditNumber:
      if (notice == EN_CHANGE && !editor.filling) JudgeInput(editor);
      return;
    case kEditBytes:
      return OnHexNotice(editor, notice);
    case IDOK:
      editor.data = DataOf(editor);
      EndDialog(editor.dialog, IDOK);
      return;
    case IDCANCEL:
      EndDialog(editor.dialog, IDCANCEL);
      return;
    default:
      return;
  }
}

// --- the dialog ----------------------------------------------------------------------------------

// The registry's types in the order of their numbers; another one that the value has comes last.
void FillTypes(const Editor& editor) {
  const HWND box = Control(editor, kEditType);
  const auto add = [box](uint32_t type) {
    const int row = ComboBox_AddString(box, WindowText(TypeName(type)).c_str());
    ComboBox_SetItemData(box, row, type);
    return row;
  };
  for (uint32_t type = kRegNone; type <= kRegQword; ++type) add(type);
  const bool known = editor.type <= kRegQword;
  ComboBox_SetCurSel(box, known ? static_cast<int>(editor.type) : add(editor.type));
}

INT_PTR OnStart(Editor& editor) {
  editor.layout = MakeResizable(editor.dialog, kValueEditorAnchors);
  SetDlgItemTextW(editor.dialog, kEditKey, WindowText(editor.edit.key).c_str());
  SetDlgItemTextW(editor.dialog, kEditName, WindowText(editor.edit.name).c_str());
  FillTypes(editor);
  CheckRadioButton(editor.dialog, kEditHexadecimal, kEditDecimal, kEditHexadecimal);
  // Length is judged with the data; the controls' own limit would cut a paste without a word.
  for (const int control : {kEditText, kEditLines, kEditNumber}) {
    SendDlgItemMessageW(editor.dialog, control, EM_SETLIMITTEXT, 0, 0);
  }
  ShowInForm(editor, false);
  SetFocus(InputOf(editor));
  return FALSE;
}

INT_PTR Route(Editor& editor, UINT message, WPARAM first, LPARAM second) {
  if (message != WM_COMMAND) return RouteLayout(editor.dialog, editor.layout, message, second);
  OnCommand(editor, LOWORD(first), HIWORD(first));
  return TRUE;
}

constexpr DLGPROC kValueEditorProcedure = RecordDialogProc<Editor, OnStart, Route>;

}  // namespace

bool EditValue(HWND owner, EditedValue& edit) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  if (edit.data.size() >= kMaxValueData || !RegisterHexClass(instance)) return false;
  Editor editor(edit);
  const ModalTurn turn(owner);
  if (ShowDialogBox(instance, L"EDITVALUEDLG", owner, kValueEditorProcedure,
                    reinterpret_cast<LPARAM>(&editor)) != IDOK ||
      (editor.type == edit.type && editor.data == edit.data)) {
    return false;
  }
  edit.type = editor.type;
  edit.data = std::move(editor.data);
  return true;
}

}  // namespace hivequarry
