# fish completion for marrowkit-cli

# The names of the library's databases.
function __marrowkit_cli_databases
    set -l words (commandline -opc)
    set -l library
    if set -l i (contains -i -- --library $words)
        set library --library $words[(math $i + 1)]
    end
    $words[1] $library --quiet list 2>/dev/null | tail -n +2 | string replace -rf '^"([^"]*)",.*' '$1'
end

complete -c marrowkit-cli -f
complete -c marrowkit-cli -n __fish_use_subcommand -a list -d 'The databases of the library'
complete -c marrowkit-cli -n __fish_use_subcommand -a show -d 'Tables and files of a database'
complete -c marrowkit-cli -n __fish_use_subcommand -a new -d 'Make a new, empty database'
complete -c marrowkit-cli -n __fish_use_subcommand -a import -d 'Make a database of a RomCenter 2.00 datafile'
complete -c marrowkit-cli -n __fish_use_subcommand -a fix -d 'Repair data that the frontend stumbles over'
complete -c marrowkit-cli -n __fish_use_subcommand -a compact -d 'Rewrite a database file without its unused space'
complete -c marrowkit-cli -n __fish_use_subcommand -a clear-extras -d 'Unlink all extra files from all games'
complete -c marrowkit-cli -n __fish_use_subcommand -a remove-views -d 'Delete all custom views and their filters'
complete -c marrowkit-cli -n __fish_use_subcommand -a records -d 'Records of a lookup table that may be deleted'
complete -c marrowkit-cli -n __fish_use_subcommand -a delete-record -d 'Delete a record of a lookup table and move its games'
complete -c marrowkit-cli -n __fish_use_subcommand -a delete -d 'Delete a database with its whole folder'
complete -c marrowkit-cli -n __fish_use_subcommand -a check -d 'Look for damage in databases'
complete -c marrowkit-cli -n __fish_use_subcommand -a tables -d 'The tables of a database file'
complete -c marrowkit-cli -n __fish_use_subcommand -a schema -d 'The design of a database'
complete -c marrowkit-cli -n __fish_use_subcommand -a export -d 'All rows of a table'
complete -c marrowkit-cli -n __fish_use_subcommand -a sql -d 'Run one SQL statement'
complete -c marrowkit-cli -n __fish_use_subcommand -a create-template -d 'Make a blank database of the frontend'
complete -c marrowkit-cli -n __fish_use_subcommand -a crc -d 'Checksums of files'
complete -c marrowkit-cli -n __fish_use_subcommand -a tosec -d 'What the import reads out of TOSEC file names'

complete -c marrowkit-cli -s h -l help -d 'Explain the program or a command'
complete -c marrowkit-cli -l version -d 'Print the version'
complete -c marrowkit-cli -x -a '(__fish_complete_directories)' -l library -d 'Folder of the databases'
complete -c marrowkit-cli -l json -d 'Results as JSON'
complete -c marrowkit-cli -l quiet -d 'No progress and no notices'
complete -c marrowkit-cli -l yes -d 'Answer every confirmation with Yes'

complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -x -l name -d 'Name of the new database'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -x -a '(__marrowkit_cli_databases)' -l into -d 'Add the games to this database'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -x -a '1 2 3 4 5 8' -l name-column -d 'Column of the name of a game'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -x -a '1 3 5 7' -l file-column -d 'Column of the file name of a game'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l skip-duplicates -d 'Only the first game of each name'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l tosec -d 'File names follow TOSEC'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l no-tosec -d 'File names do not follow TOSEC'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l add-zip -d 'Append .zip to the file names'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -x -a '(__fish_complete_directories)' -l roms -d 'Look for the files in this folder'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l match-extensions -d 'Only files with an extension of the datafile'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -r -F -l report -d 'Write which lines make no games, and what the ROM scan found'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -l dry-run -d 'Create and write nothing'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from delete-record' -x -l replace-with -d 'The record that its games move to'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from check' -x -l max -d 'The most problems to list for a file'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from tables' -l system -d 'The tables of the system, too'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from create-template' -l jet3 -d 'As Access 97 writes it'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from create-template' -l jet4 -d 'As Access 2000 to 2003 write it'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from create-template' -x -l schema-version -d 'Version of the schema'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from crc' -l crc16 -d 'CRC-16 instead of CRC-32'

complete -c marrowkit-cli -n '__fish_seen_subcommand_from show' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from fix' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from compact' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from clear-extras' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from remove-views' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from records' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from delete-record' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from delete' -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from tables' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from schema' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from export' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from sql' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from import' -F
complete -c marrowkit-cli -n '__fish_seen_subcommand_from check' -F -a '(__marrowkit_cli_databases)'
complete -c marrowkit-cli -n '__fish_seen_subcommand_from create-template' -F
complete -c marrowkit-cli -n '__fish_seen_subcommand_from crc' -F
complete -c marrowkit-cli -n '__fish_seen_subcommand_from records delete-record' -a 'Publishers Musicians Programmers Languages Crackers'
