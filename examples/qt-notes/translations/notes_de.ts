<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <source>&lt;b&gt;Notes&lt;/b&gt; %1</source>
        <translation>&lt;b&gt;Notizen&lt;/b&gt; %1</translation>
    </message>
    <message>
        <source>A small app to keep notes.
Its texts come from Linguist catalogues.</source>
        <translation>Eine kleine App für Notizen.
Ihre Texte kommen aus Linguist-Katalogen.</translation>
    </message>
</context>
<context>
    <name>NoteForm</name>
    <message>
        <source>Title:</source>
        <translation>Titel:</translation>
    </message>
    <message>
        <source>What is it about?</source>
        <translation>Worum geht es?</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
</context>
<context>
    <name>NotesWindow</name>
    <message>
        <source>Notes</source>
        <translation>Notizen</translation>
    </message>
    <message>
        <source>Welcome to %1!</source>
        <translation>Willkommen bei %1!</translation>
    </message>
    <message>
        <source>Kolvane Notes</source>
        <translation>Kolvane Notizen</translation>
    </message>
    <message numerus="yes">
        <source>%n note(s)</source>
        <translation>
            <numerusform>%n Notiz</numerusform>
            <numerusform>%n Notizen</numerusform>
        </translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;New Note</source>
        <translation>&amp;Neue Notiz</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <comment>verb</comment>
        <extracomment>Opens a note: the verb, not the state.</extracomment>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;About Notes</source>
        <translation>Ü&amp;ber Notizen</translation>
    </message>
    <message>
        <source>Write a new note</source>
        <translation>Eine neue Notiz schreiben</translation>
    </message>
    <message>
        <source>Untitled note</source>
        <translation>Notiz ohne Titel</translation>
    </message>
    <message>
        <source>Open</source>
        <comment>state</comment>
        <translation>Offen</translation>
    </message>
</context>
</TS>
