// Numeric IDs of the library's resources. Plain #defines only: the resource script and the
// C++ sources both include this file.
#ifndef QBRK_RESOURCES_RESOURCE_IDS_H_
#define QBRK_RESOURCES_RESOURCE_IDS_H_

// Labels that the code never addresses.
#define IDC_QBRK_LABEL (-1)

// Icons.
#define IDI_QBRK_DONE 6007        // the tool's icon, also shown when a job has finished
#define IDI_QBRK_SYNC_FRAME1 6022 // sync indicator animation, first frame
#define IDI_QBRK_SYNC_FRAME2 6040
#define IDI_QBRK_SYNC_FRAME3 6041

// The options, sign-in and upload unit dialogs.
#include "options_dialog_ids.h"

// Confirmation before a synchronization.
#define IDD_SYNC_CONFIRM 6004
#define IDC_SYNC_CONFIRM_ICON 6005
#define IDC_SYNC_CONFIRM_TEXT 6006

// The library's message box. Button 3 is IDCANCEL (2), so Escape reaches it.
#define IDD_MESSAGE_BOX 6021
#define IDC_MESSAGE_ICON 6055
#define IDC_MESSAGE_BUTTON2 6056
#define IDC_MESSAGE_TEXT 6057
#define IDC_MESSAGE_STATUS 6058
#define IDC_MESSAGE_BUTTON1 6059

// Change of the mirror folder.
#define IDD_MIRROR_FOLDER 6030
#define IDC_MIRROR_ICON 6060
#define IDC_MIRROR_EXPLANATION 6061
#define IDC_MIRROR_PATH 6062
#define IDC_MIRROR_BROWSE 6063
#define IDC_MIRROR_COPY 6064
#define IDC_MIRROR_DEFAULT 6065
#define IDC_MIRROR_SHORTCUT_NOTE 6066

#endif  // QBRK_RESOURCES_RESOURCE_IDS_H_
