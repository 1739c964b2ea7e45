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

// The progress dialogs (synchronization and file transfer share one layout). Button 1 is
// IDOK: abort, and close once the job is done.
#define IDD_SYNC_PROGRESS 6002
#define IDD_TRANSFER_PROGRESS 6105
#define IDC_PROGRESS_BAR 6003
#define IDC_PROGRESS_REMAINING 6022
#define IDC_PROGRESS_UPLOADS 6023
#define IDC_PROGRESS_DOWNLOADS 6024
#define IDC_PROGRESS_DELETIONS 6025
#define IDC_PROGRESS_ICON 6028
#define IDC_PROGRESS_RATE 6046
#define IDC_PROGRESS_COPIED 6047
#define IDC_PROGRESS_FINISH_CLOSE 6051
#define IDC_PROGRESS_STATUS 6052

// The choice dialogs: a file changed on both sides, deleted on the server, deleted locally.
#define IDD_CHOICE_CONFLICT 6003
#define IDD_CHOICE_DELETED_ON_SERVER 6008
#define IDD_CHOICE_DELETED_LOCALLY 6009
#define IDC_CHOICE_CONFLICT_UPLOAD 6007
#define IDC_CHOICE_CONFLICT_DOWNLOAD 6008
#define IDC_CHOICE_UPLOAD_AGAIN 6015
#define IDC_CHOICE_SERVER_NAME 6016
#define IDC_CHOICE_DOWNLOAD_AGAIN 6018
#define IDC_CHOICE_LOCAL_NAME 6019
#define IDC_CHOICE_CONFLICT_ICON 6027
#define IDC_CHOICE_CONFLICT_NAME 6029
#define IDC_CHOICE_CONFLICT_ALL 6044
#define IDC_CHOICE_ALL 6081
#define IDC_CHOICE_DELETE 6082

// The system's warning icon, where a dialog shows it.
#define IDC_WARNING_ICON 6045

// The start-up check's question.
#define IDD_STARTUP_CONFIRM 6005
#define IDC_STARTUP_DONT_SHOW 6009
#define IDC_STARTUP_TEXT 6090

// The question whether to synchronize before publishing.
#define IDD_SYNC_FIRST 6024
#define IDC_SYNC_FIRST_ICON 6027

#endif  // QBRK_RESOURCES_RESOURCE_IDS_H_
