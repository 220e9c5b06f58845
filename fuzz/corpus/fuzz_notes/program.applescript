on findOrMakeFolder(folderName)
    tell application "Notes"
        if not (exists folder folderName) then
            make new folder with properties {name:folderName}
        end if
        return folder folderName
    end tell
end findOrMakeFolder

tell application "Notes"
    set targetFolder to my findOrMakeFolder("Printed")
    set newNote to make new note at targetFolder with properties ¬
        {name:"Tax \"2025\"", body:"<h1>Tax</h1>
<p style=\"white-space: pre-wrap;\">1 &lt; 2\\</p>"}
    set pdfFile to POSIX file "/" as alias
    make new attachment at newNote with data pdfFile
    return id of newNote
end tell
