<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU" sourcelanguage="en">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About %1</source>
        <translation>О программе %1</translation>
    </message>
    <message>
        <source>&lt;b&gt;Notes&lt;/b&gt; %1</source>
        <translation>&lt;b&gt;Заметки&lt;/b&gt; %1</translation>
    </message>
    <message>
        <source>A small app to keep notes.
Its texts come from Linguist catalogues.</source>
        <translation>Небольшое приложение для заметок.
Его тексты взяты из каталогов Linguist.</translation>
    </message>
</context>
<context>
    <name>NoteForm</name>
    <message>
        <source>Title:</source>
        <translation>Заголовок:</translation>
    </message>
    <message>
        <source>What is it about?</source>
        <translation>О чём она?</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Сохранить</translation>
    </message>
</context>
<context>
    <name>NotesWindow</name>
    <message>
        <source>Notes</source>
        <translation>Заметки</translation>
    </message>
    <message>
        <source>Welcome to %1!</source>
        <translation>Добро пожаловать в %1!</translation>
    </message>
    <message>
        <source>Kolvane Notes</source>
        <translation>Kolvane Заметки</translation>
    </message>
    <message numerus="yes">
        <source>%n note(s)</source>
        <translation>
            <numerusform>%n заметка</numerusform>
            <numerusform>%n заметки</numerusform>
            <numerusform>%n заметок</numerusform>
        </translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Файл</translation>
    </message>
    <message>
        <source>&amp;New Note</source>
        <translation>&amp;Новая заметка</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <comment>verb</comment>
        <extracomment>Opens a note: the verb, not the state.</extracomment>
        <translation>&amp;Открыть</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Выход</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Справка</translation>
    </message>
    <message>
        <source>&amp;About Notes</source>
        <translation>&amp;О программе</translation>
    </message>
    <message>
        <source>Write a new note</source>
        <translation>Написать новую заметку</translation>
    </message>
    <message>
        <source>Untitled note</source>
        <translation>Заметка без названия</translation>
    </message>
    <message>
        <source>Open</source>
        <comment>state</comment>
        <translation>Открыта</translation>
    </message>
</context>
</TS>
