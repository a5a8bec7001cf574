<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AboutBox</name>
    <message>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <source>Copyright (C) The Qt Company Ltd. and other contributors, licensed under the GNU Lesser General Public License (LGPL) version 3</source>
        <translation>Copyright (C) The Qt Company Ltd. und weitere Mitwirkende, lizenziert unter der GNU Lesser General Public License (LGPL) Version 3</translation>
    </message>
    <message>
        <source>&lt;p&gt;Copyright &amp;copy; %1 Kelmara. All rights reserved.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Copyright &amp;copy; %1 Kelmara. Alle Rechte vorbehalten.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Online user guides:&lt;ul&gt;&lt;li&gt;&lt;a href=&apos;%1&apos;&gt;Lumenar Corvane&lt;/a&gt;&lt;/li&gt;&lt;li&gt;&lt;a href=&apos;%2&apos;&gt;Lumenar Link Adapter&lt;/a&gt;&lt;/li&gt;&lt;/ul&gt;&lt;/p&gt;</source>
        <translation>&lt;p&gt;Online-Benutzerhandbücher:&lt;ul&gt;&lt;li&gt;&lt;a href=&apos;%1&apos;&gt;Lumenar Corvane&lt;/a&gt;&lt;/li&gt;&lt;li&gt;&lt;a href=&apos;%2&apos;&gt;Lumenar Link Adapter&lt;/a&gt;&lt;/li&gt;&lt;/ul&gt;&lt;/p&gt;</translation>
    </message>
    <message>
        <source>%1 is based on:</source>
        <translation>%1 basiert auf:</translation>
    </message>
    <message>
        <source>&lt;p&gt;You may use this program to operate devices of Kelmara. You may not redistribute it. The program is provided as is, without warranty of any kind; in no event shall Kelmara be liable for any damage arising from its use. This program uses libraries licensed under the GNU Lesser General Public License (LGPL); see the file LGPL.txt for its terms.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Sie dürfen dieses Programm zum Betrieb von Geräten von Kelmara verwenden. Sie dürfen es nicht weitergeben. Das Programm wird ohne Mängelgewähr und ohne jegliche Garantie bereitgestellt; Kelmara haftet in keinem Fall für Schäden, die aus seiner Verwendung entstehen. Dieses Programm verwendet Bibliotheken, die unter der GNU Lesser General Public License (LGPL) lizenziert sind; die Bedingungen finden Sie in der Datei LGPL.txt.&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>BatchUtil</name>
    <message>
        <source>Job file &apos;%1&apos; does not exist.</source>
        <translation>Die Job-Datei &apos;%1&apos; existiert nicht.</translation>
    </message>
    <message>
        <source>Job file is missing required &apos;steps&apos; array.</source>
        <translation>In der Job-Datei fehlt die erforderliche Liste &apos;steps&apos;.</translation>
    </message>
    <message>
        <source>Job step is missing required &apos;task&apos; field.</source>
        <translation>In einem Job-Schritt fehlt das erforderliche Feld &apos;task&apos;.</translation>
    </message>
    <message>
        <source>Job step &apos;flags&apos; field is not a sequence.</source>
        <translation>Das Feld &apos;flags&apos; eines Job-Schritts ist keine Liste.</translation>
    </message>
    <message>
        <source>Job step &apos;arguments&apos; field is not a sequence.</source>
        <translation>Das Feld &apos;arguments&apos; eines Job-Schritts ist keine Liste.</translation>
    </message>
    <message>
        <source>Job parameter is missing required &apos;name&apos; field.</source>
        <translation>In einem Job-Parameter fehlt das erforderliche Feld &apos;name&apos;.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; does not exist.</source>
        <translation>Die Gerätedatei &apos;%1&apos; existiert nicht.</translation>
    </message>
    <message>
        <source>Devices file is missing required &apos;devices&apos; array.</source>
        <translation>In der Gerätedatei fehlt die erforderliche Liste &apos;devices&apos;.</translation>
    </message>
    <message>
        <source>Device entry is missing required &apos;serial_number&apos; field.</source>
        <translation>In einem Geräteeintrag fehlt das erforderliche Feld &apos;serial_number&apos;.</translation>
    </message>
    <message>
        <source>Device entry is missing required &apos;target_device&apos; field.</source>
        <translation>In einem Geräteeintrag fehlt das erforderliche Feld &apos;target_device&apos;.</translation>
    </message>
    <message>
        <source>Device entry is missing required &apos;connection_type&apos; field.</source>
        <translation>In einem Geräteeintrag fehlt das erforderliche Feld &apos;connection_type&apos;.</translation>
    </message>
    <message>
        <source>Device entry has unknown &apos;connection_type&apos; value: %1</source>
        <translation>Ein Geräteeintrag hat einen unbekannten Wert für &apos;connection_type&apos;: %1</translation>
    </message>
    <message>
        <source>Device entry with IP connection type is missing required &apos;ip&apos; field.</source>
        <translation>In einem Geräteeintrag mit IP-Verbindung fehlt das erforderliche Feld &apos;ip&apos;.</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; is not a regular file.</source>
        <translation>Die Job-Datei &apos;%1&apos; ist keine reguläre Datei.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; is not a regular file.</source>
        <translation>Die Gerätedatei &apos;%1&apos; ist keine reguläre Datei.</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; is larger than %2 bytes and is not read.</source>
        <translation>Die Job-Datei &apos;%1&apos; ist größer als %2 Byte und wird nicht gelesen.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; is larger than %2 bytes and is not read.</source>
        <translation>Die Gerätedatei &apos;%1&apos; ist größer als %2 Byte und wird nicht gelesen.</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; is refused: its mappings are nested more than %2 levels deep at line %3, column %4 (an alias may refer back to its own anchor).</source>
        <translation>Die Job-Datei &apos;%1&apos; wird abgelehnt: Ihre Zuordnungen sind in Zeile %3, Spalte %4 mehr als %2 Ebenen tief verschachtelt (ein Alias verweist möglicherweise auf seinen eigenen Anker).</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; is refused: its mappings are nested more than %2 levels deep at line %3, column %4 (an alias may refer back to its own anchor).</source>
        <translation>Die Gerätedatei &apos;%1&apos; wird abgelehnt: Ihre Zuordnungen sind in Zeile %3, Spalte %4 mehr als %2 Ebenen tief verschachtelt (ein Alias verweist möglicherweise auf seinen eigenen Anker).</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; is refused: it expands to more than %2 values at line %3, column %4 (aliases may repeat parts of the document).</source>
        <translation>Die Job-Datei &apos;%1&apos; wird abgelehnt: Sie ergibt in Zeile %3, Spalte %4 mehr als %2 Werte (Aliasse wiederholen möglicherweise Teile des Dokuments).</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; is refused: it expands to more than %2 values at line %3, column %4 (aliases may repeat parts of the document).</source>
        <translation>Die Gerätedatei &apos;%1&apos; wird abgelehnt: Sie ergibt in Zeile %3, Spalte %4 mehr als %2 Werte (Aliasse wiederholen möglicherweise Teile des Dokuments).</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; is refused: it is nested too deeply at line %2, column %3.</source>
        <translation>Die Job-Datei &apos;%1&apos; wird abgelehnt: Sie ist in Zeile %2, Spalte %3 zu tief verschachtelt.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; is refused: it is nested too deeply at line %2, column %3.</source>
        <translation>Die Gerätedatei &apos;%1&apos; wird abgelehnt: Sie ist in Zeile %2, Spalte %3 zu tief verschachtelt.</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; could not be read: %2.</source>
        <translation>Die Job-Datei &apos;%1&apos; konnte nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; could not be read: %2.</source>
        <translation>Die Gerätedatei &apos;%1&apos; konnte nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>Could not open job file &apos;%1&apos; for writing.</source>
        <translation>Die Job-Datei &apos;%1&apos; konnte nicht zum Schreiben geöffnet werden.</translation>
    </message>
    <message>
        <source>Could not open devices file &apos;%1&apos; for writing.</source>
        <translation>Die Gerätedatei &apos;%1&apos; konnte nicht zum Schreiben geöffnet werden.</translation>
    </message>
    <message>
        <source>Could not write job file &apos;%1&apos;.</source>
        <translation>Die Job-Datei &apos;%1&apos; konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>Could not write devices file &apos;%1&apos;.</source>
        <translation>Die Gerätedatei &apos;%1&apos; konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>Job file &apos;%1&apos; written successfully.</source>
        <translation>Die Job-Datei &apos;%1&apos; wurde geschrieben.</translation>
    </message>
    <message>
        <source>Devices file &apos;%1&apos; written successfully.</source>
        <translation>Die Gerätedatei &apos;%1&apos; wurde geschrieben.</translation>
    </message>
    <message>
        <source>Could not create temporary directory for extracting job bundle contents.</source>
        <translation>Es konnte kein temporäres Verzeichnis zum Entpacken des Job-Pakets angelegt werden.</translation>
    </message>
    <message>
        <source>Could not create devices file for job bundle.</source>
        <translation>Die Gerätedatei für das Job-Paket konnte nicht erstellt werden.</translation>
    </message>
    <message>
        <source>Could not create job file for job bundle.</source>
        <translation>Die Job-Datei für das Job-Paket konnte nicht erstellt werden.</translation>
    </message>
    <message>
        <source>Could not create job bundle file &apos;%1&apos;.</source>
        <translation>Die Job-Paketdatei &apos;%1&apos; konnte nicht erstellt werden.</translation>
    </message>
    <message>
        <source>Could not extract job bundle file &apos;%1&apos;.</source>
        <translation>Die Job-Paketdatei &apos;%1&apos; konnte nicht entpackt werden.</translation>
    </message>
    <message>
        <source>Could not find %1 file in job bundle.</source>
        <translation>Die Datei %1 wurde im Job-Paket nicht gefunden.</translation>
    </message>
</context>
<context>
    <name>BulkOperationsWidget</name>
    <message>
        <source>Perform Bulk Operations</source>
        <translation>Massenoperationen ausführen</translation>
    </message>
    <message>
        <source>Devices</source>
        <translation>Geräte</translation>
    </message>
    <message>
        <source>Actions</source>
        <translation>Aktionen</translation>
    </message>
    <message>
        <source>Add Debug Connection Options</source>
        <translation>Optionen für die Debug-Verbindung hinzufügen</translation>
    </message>
    <message>
        <source>Run</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Run batch job on selected devices</source>
        <translation>Batch-Job auf den ausgewählten Geräten starten</translation>
    </message>
    <message>
        <source>The provided Lumenar Corvane path is not valid. Please provide a valid path in the settings.</source>
        <translation>Der angegebene Pfad zu Lumenar Corvane ist ungültig. Bitte geben Sie in den Einstellungen einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>ERROR: %1</source>
        <translation>FEHLER: %1</translation>
    </message>
    <message>
        <source>Open Output Log%1</source>
        <translation>Ausgabeprotokoll öffnen%1</translation>
    </message>
    <message>
        <source>Open Corvane With Device%1</source>
        <translation>Corvane mit Gerät öffnen%1</translation>
    </message>
    <message>
        <source>Run Job on Device%1</source>
        <translation>Job auf Gerät starten%1</translation>
    </message>
    <message>
        <source>Probe Adapter%1</source>
        <translation>Adapter abfragen%1</translation>
    </message>
    <message>
        <source>Detect Target Part%1</source>
        <translation>Zielbaustein erkennen%1</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alle auswählen</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Deselect</source>
        <translation>Abwählen</translation>
    </message>
    <message>
        <source>Deselect All</source>
        <translation>Alle abwählen</translation>
    </message>
    <message>
        <source>Clear Target Part%1</source>
        <translation>Zielbaustein löschen%1</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>No devices selected to open logs for.</source>
        <translation>Keine Geräte ausgewählt, deren Protokolle geöffnet werden sollen.</translation>
    </message>
    <message>
        <source>Cannot discover devices because the Lumenar Corvane executable is not valid. Please provide a valid path in the settings.</source>
        <translation>Geräte können nicht gesucht werden, weil die Lumenar-Corvane-Programmdatei ungültig ist. Bitte geben Sie in den Einstellungen einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>No devices selected for adapter probing.</source>
        <translation>Keine Geräte zum Abfragen der Adapter ausgewählt.</translation>
    </message>
    <message>
        <source>No devices selected for target device detection.</source>
        <translation>Keine Geräte zum Erkennen des Zielbausteins ausgewählt.</translation>
    </message>
    <message>
        <source>Unknown connection type. Please select one in the dropdown menu.</source>
        <translation>Unbekannter Verbindungstyp. Bitte wählen Sie einen in der Auswahlliste.</translation>
    </message>
    <message>
        <source>Unknown connection type for this device. Please select one in the dropdown menu.</source>
        <translation>Unbekannter Verbindungstyp für dieses Gerät. Bitte wählen Sie einen in der Auswahlliste.</translation>
    </message>
    <message>
        <source>Discover Available Devices</source>
        <translation>Verfügbare Geräte suchen</translation>
    </message>
    <message>
        <source>Discover USB Devices</source>
        <translation>USB-Geräte suchen</translation>
    </message>
    <message>
        <source>Discover IP Devices</source>
        <translation>IP-Geräte suchen</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Add a new device to the list manually.</source>
        <translation>Ein neues Gerät von Hand zur Liste hinzufügen.</translation>
    </message>
    <message>
        <source>Assign target part number</source>
        <translation>Teilenummer des Zielbausteins zuweisen</translation>
    </message>
    <message>
        <source>Specify the target part number to use. Right click one or more specific devices to detect their target parts.</source>
        <translation>Geben Sie die zu verwendende Teilenummer des Zielbausteins an. Klicken Sie mit der rechten Maustaste auf ein oder mehrere Geräte, um deren Zielbausteine zu erkennen.</translation>
    </message>
    <message>
        <source>Apply to all</source>
        <translation>Auf alle anwenden</translation>
    </message>
    <message>
        <source>When checked, the specified target part number will be applied to all devices in the list. 
Otherwise, it will only be applied to the currently highlighted devices.</source>
        <translation>Wenn markiert, wird die angegebene Teilenummer auf alle Geräte in der Liste angewendet. 
Andernfalls nur auf die aktuell hervorgehobenen Geräte.</translation>
    </message>
    <message>
        <source>Edit Action</source>
        <translation>Aktion bearbeiten</translation>
    </message>
    <message>
        <source>Variable Explorer...</source>
        <translation>Variablen-Explorer...</translation>
    </message>
    <message>
        <source>Install default firmware for this adapter</source>
        <translation>Standard-Firmware für diesen Adapter installieren</translation>
    </message>
    <message>
        <source>Install only if a newer version firmware is available</source>
        <translation>Nur installieren, wenn eine neuere Firmware-Version verfügbar ist</translation>
    </message>
    <message>
        <source>Install firmware package from file</source>
        <translation>Firmware-Paket aus Datei installieren</translation>
    </message>
    <message>
        <source>Path to .emz firmware package file</source>
        <translation>Pfad zur .emz-Firmware-Paketdatei</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>Durchsuchen...</translation>
    </message>
    <message>
        <source>Note: Not all adapters support all debug modes.</source>
        <translation>Hinweis: Nicht alle Adapter unterstützen alle Debug-Modi.</translation>
    </message>
    <message>
        <source>Debug mode:</source>
        <translation>Debug-Modus:</translation>
    </message>
    <message>
        <source>No settings available.</source>
        <translation>Keine Einstellungen verfügbar.</translation>
    </message>
    <message>
        <source>Path to application binary file</source>
        <translation>Pfad zur Binärdatei der Anwendung</translation>
    </message>
    <message>
        <source>The address to start flashing from. Interpreted as hexadecimal.</source>
        <translation>Die Adresse, ab der geflasht wird. Wird hexadezimal interpretiert.</translation>
    </message>
    <message>
        <source>Force</source>
        <translation>Erzwingen</translation>
    </message>
    <message>
        <source>Reset target after flashing</source>
        <translation>Ziel nach dem Flashen zurücksetzen</translation>
    </message>
    <message>
        <source>Verify after flashing</source>
        <translation>Nach dem Flashen verifizieren</translation>
    </message>
    <message>
        <source>Halt target after flashing</source>
        <translation>Ziel nach dem Flashen anhalten</translation>
    </message>
    <message>
        <source>Flash start address:</source>
        <translation>Startadresse zum Flashen:</translation>
    </message>
    <message>
        <source>Options:</source>
        <translation>Optionen:</translation>
    </message>
    <message>
        <source>Lock Debug Access</source>
        <translation>Debug-Zugriff sperren</translation>
    </message>
    <message>
        <source>Unlock Debug Access</source>
        <translation>Debug-Zugriff entsperren</translation>
    </message>
    <message>
        <source>Duration (ms):</source>
        <translation>Dauer (ms):</translation>
    </message>
    <message>
        <source>Run a custom CLI command.&lt;br&gt;&lt;br&gt;&lt;b&gt;Note:&lt;/b&gt; Debug-related options are &lt;b&gt;not&lt;/b&gt; automatically added to this command.&lt;br&gt;&lt;br&gt;Device connection options can be provided manually using variables,&lt;br&gt;e.g. &quot;--device {{%1}}&quot;.</source>
        <translation>Einen eigenen CLI-Befehl ausführen.&lt;br&gt;&lt;br&gt;&lt;b&gt;Hinweis:&lt;/b&gt; Debug-bezogene Optionen werden diesem Befehl &lt;b&gt;nicht&lt;/b&gt; automatisch hinzugefügt.&lt;br&gt;&lt;br&gt;Optionen für die Geräteverbindung können über Variablen von Hand angegeben werden,&lt;br&gt;z. B. &quot;--device {{%1}}&quot;.</translation>
    </message>
    <message>
        <source>Append adapter option</source>
        <translation>Adapteroption anhängen</translation>
    </message>
    <message>
        <source>Append the relevant adapter connection option (--serialno or --ip) 
automatically based on the selected adapter.</source>
        <translation>Die passende Option für die Adapterverbindung (--serialno oder --ip) 
automatisch anhand des gewählten Adapters anhängen.</translation>
    </message>
    <message>
        <source>CLI command to run, e.g. &apos;device reset&apos;</source>
        <translation>Auszuführender CLI-Befehl, z. B. &apos;device reset&apos;</translation>
    </message>
    <message>
        <source>Select Adapter Firmware</source>
        <translation>Adapter-Firmware auswählen</translation>
    </message>
    <message>
        <source>Firmware packages (*%1)</source>
        <translation>Firmware-Pakete (*%1)</translation>
    </message>
    <message>
        <source>Select Application Binary</source>
        <translation>Binärdatei der Anwendung auswählen</translation>
    </message>
    <message>
        <source>Supported Files (*%1);;All Files (*.*)</source>
        <translation>Unterstützte Dateien (*%1);;Alle Dateien (*.*)</translation>
    </message>
    <message>
        <source>No devices selected to run job on.</source>
        <translation>Keine Geräte ausgewählt, auf denen der Job laufen soll.</translation>
    </message>
    <message>
        <source>Cannot start job; could not create a temporary folder for the job bundle: %1</source>
        <translation>Der Job kann nicht gestartet werden; für das Job-Paket konnte kein temporärer Ordner angelegt werden: %1</translation>
    </message>
    <message>
        <source>No devices selected.</source>
        <translation>Keine Geräte ausgewählt.</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Abort not yet started jobs</source>
        <translation>Noch nicht gestartete Jobs abbrechen</translation>
    </message>
    <message>
        <source>Cannot start job; the configured path does not point to a valid Corvane executable. Please provide a valid path in the settings.</source>
        <translation>Der Job kann nicht gestartet werden; der eingestellte Pfad verweist nicht auf eine gültige Corvane-Programmdatei. Bitte geben Sie in den Einstellungen einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>Process output:

%1</source>
        <translation>Prozessausgabe:

%1</translation>
    </message>
    <message>
        <source>Job failed during action %1 (elapsed: %2)</source>
        <translation>Job bei Aktion %1 fehlgeschlagen (Dauer: %2)</translation>
    </message>
    <message>
        <source>DONE (elapsed: %1)</source>
        <translation>FERTIG (Dauer: %1)</translation>
    </message>
    <message>
        <source>ABORTED</source>
        <translation>ABGEBROCHEN</translation>
    </message>
    <message>
        <source>Job was aborted by user</source>
        <translation>Job wurde vom Benutzer abgebrochen</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Aktiv</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Add a new action to the list.</source>
        <translation>Eine neue Aktion zur Liste hinzufügen.</translation>
    </message>
    <message>
        <source>Enable/disable this action</source>
        <translation>Diese Aktion aktivieren/deaktivieren</translation>
    </message>
    <message>
        <source>Move action up</source>
        <translation>Aktion nach oben verschieben</translation>
    </message>
    <message>
        <source>Move action down</source>
        <translation>Aktion nach unten verschieben</translation>
    </message>
    <message>
        <source>Debug Interface:</source>
        <translation>Debug-Schnittstelle:</translation>
    </message>
    <message>
        <source>Speed:</source>
        <translation>Geschwindigkeit:</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 m %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>Cannot start job; the log file directory &quot;%1&quot; could not be created. Please choose another log file directory or switch logging off.</source>
        <translation>Auftrag kann nicht gestartet werden; der Protokollordner &quot;%1&quot; konnte nicht angelegt werden. Bitte wählen Sie einen anderen Protokollordner oder schalten Sie die Protokollierung aus.</translation>
    </message>
    <message>
        <source>The Corvane executable &quot;%1&quot; could not be started. Please check the path in the settings.</source>
        <translation>Das Corvane-Programm &quot;%1&quot; konnte nicht gestartet werden. Bitte prüfen Sie den Pfad in den Einstellungen.</translation>
    </message>
    <message>
        <source>Show Output...</source>
        <translation>Ausgabe anzeigen...</translation>
    </message>
    <message>
        <source>Check Only Unsuccessful Devices</source>
        <translation>Nur erfolglose Geräte auswählen</translation>
    </message>
    <message>
        <source>
--- standard error ---
</source>
        <translation>
--- Standardfehlerausgabe ---
</translation>
    </message>
    <message>
        <source>Output of %1</source>
        <translation>Ausgabe von %1</translation>
    </message>
    <message>
        <source>The file &quot;%1&quot; has changed since the job was loaded or edited. Press Run again to use it as it is now.</source>
        <translation>Die Datei &quot;%1&quot; hat sich geändert, seit der Job geladen oder bearbeitet wurde. Drücken Sie erneut Starten, um sie so zu verwenden, wie sie jetzt ist.</translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation>Wartet</translation>
    </message>
    <message>
        <source>Not started</source>
        <translation>Nicht gestartet</translation>
    </message>
</context>
<context>
    <name>CommandLineRun</name>
    <message>
        <source>harnwick: %1</source>
        <translation>harnwick: %1</translation>
    </message>
    <message>
        <source>Try &quot;harnwick --help&quot; for the options.</source>
        <translation>&quot;harnwick --help&quot; zeigt die Optionen.</translation>
    </message>
    <message>
        <source>Unexpected argument &quot;%1&quot;.</source>
        <translation>Unerwartetes Argument &quot;%1&quot;.</translation>
    </message>
    <message>
        <source>No job bundle given: name one with --run BUNDLE.hwj.</source>
        <translation>Kein Job-Paket angegeben: nennen Sie eines mit --run PAKET.hwj.</translation>
    </message>
    <message>
        <source>--log-dir and --no-logs cannot be used together.</source>
        <translation>--log-dir und --no-logs schließen einander aus.</translation>
    </message>
    <message>
        <source>--concurrency takes a whole number from 1 to %1, not &quot;%2&quot;.</source>
        <translation>--concurrency erwartet eine ganze Zahl von 1 bis %1, nicht &quot;%2&quot;.</translation>
    </message>
    <message>
        <source>--timeout takes a whole number of seconds from 1 to %1, not &quot;%2&quot;.</source>
        <translation>--timeout erwartet eine ganze Zahl von Sekunden von 1 bis %1, nicht &quot;%2&quot;.</translation>
    </message>
    <message>
        <source>harnwick: The job bundle &quot;%1&quot; does not exist or is not a file.</source>
        <translation>harnwick: Das Job-Paket &quot;%1&quot; existiert nicht oder ist keine Datei.</translation>
    </message>
    <message>
        <source>harnwick: Cannot read the job bundle &quot;%1&quot;: %2</source>
        <translation>harnwick: Das Job-Paket &quot;%1&quot; kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>--devices takes a list of device ids separated by commas.</source>
        <translation>--devices erwartet eine durch Kommas getrennte Liste von Geräte-IDs.</translation>
    </message>
    <message>
        <source>Device &quot;%1&quot; is not in the job bundle &quot;%2&quot;.</source>
        <translation>Das Gerät &quot;%1&quot; ist nicht im Job-Paket &quot;%2&quot;.</translation>
    </message>
    <message>
        <source>harnwick: The job bundle &quot;%1&quot; has no checked devices; name the devices to run with --devices.</source>
        <translation>harnwick: Das Job-Paket &quot;%1&quot; hat keine ausgewählten Geräte; nennen Sie die Geräte mit --devices.</translation>
    </message>
    <message>
        <source>harnwick: The Corvane executable &quot;%1&quot; cannot be run (it must answer &quot;batch -h&quot;). Set its path in the window&apos;s Settings menu.</source>
        <translation>harnwick: Das Corvane-Programm &quot;%1&quot; kann nicht ausgeführt werden (es muss auf &quot;batch -h&quot; antworten). Legen Sie seinen Pfad im Menü Einstellungen des Fensters fest.</translation>
    </message>
    <message>
        <source>NOT STARTED</source>
        <translation>NICHT GESTARTET</translation>
    </message>
    <message>
        <source>%1 devices: %2 done, %3 failed, %4 crashed, %5 aborted, %6 not started, in %7</source>
        <translation>%1 Geräte: %2 fertig, %3 fehlgeschlagen, %4 abgestürzt, %5 abgebrochen, %6 nicht gestartet, in %7</translation>
    </message>
    <message>
        <source>DONE</source>
        <translation>FERTIG</translation>
    </message>
    <message>
        <source>ended on request</source>
        <translation>auf Anforderung beendet</translation>
    </message>
    <message>
        <source>the process hit its time limit</source>
        <translation>der Prozess hat sein Zeitlimit erreicht</translation>
    </message>
    <message>
        <source>the process was ended by a signal</source>
        <translation>der Prozess wurde durch ein Signal beendet</translation>
    </message>
    <message>
        <source>%1; last line: %2</source>
        <translation>%1; letzte Zeile: %2</translation>
    </message>
    <message>
        <source>exit code %1</source>
        <translation>Exit-Code %1</translation>
    </message>
    <message>
        <source>before any action</source>
        <translation>vor der ersten Aktion</translation>
    </message>
    <message>
        <source>during action %1</source>
        <translation>bei Aktion %1</translation>
    </message>
    <message>
        <source>CRASHED</source>
        <translation>ABGESTÜRZT</translation>
    </message>
    <message>
        <source>FAILED</source>
        <translation>FEHLGESCHLAGEN</translation>
    </message>
    <message>
        <source>%1  %2: %3</source>
        <translation>%1  %2: %3</translation>
    </message>
    <message>
        <source>ABORTED</source>
        <translation>ABGEBROCHEN</translation>
    </message>
    <message>
        <source>harnwick: Stopping: devices not yet started are aborted, running devices finish their job. Press Ctrl+C again to end them now.</source>
        <translation>harnwick: Wird angehalten: noch nicht gestartete Geräte werden abgebrochen, laufende Geräte beenden ihren Job. Drücken Sie erneut Strg+C, um sie sofort zu beenden.</translation>
    </message>
    <message>
        <source>harnwick: Ending the running devices now.</source>
        <translation>harnwick: Die laufenden Geräte werden jetzt beendet.</translation>
    </message>
    <message>
        <source>Usage: harnwick --run BUNDLE.hwj [options]

Runs the job of a job bundle on the bundle&apos;s checked devices without a window:
one Corvane process per device, with the same invocations as the window&apos;s Run.
Defaults come from the window&apos;s settings (Corvane executable, concurrency,
timeout, logging and log folder).

Options:
  --run BUNDLE.hwj     the job bundle to run
  --concurrency N      run at most N devices at once (1 to 100)
  --timeout SECONDS    time limit passed to Corvane for each device
  --log-dir DIR        write one log file per device into DIR
  --no-logs            write no log files
  --devices ID[,ID...] run only these devices of the bundle (serial number,
                       or IP address for devices without one), checked or not
  --report FILE        write the run&apos;s report (CSV) to FILE as well; with
                       logging on it is always written to the log folder
  --help               show this help
  --version            show the version

Ctrl+C aborts the devices not yet started and lets running ones finish;
a second Ctrl+C ends the running ones too.

Exit status: 0 when every device ran its job successfully, 1 when a device
failed, crashed, was aborted or never started, 2 when the run could not start
(bad options, an unreadable bundle, a job that would fail on every device, such
as a missing image file, or a Corvane executable that cannot run).</source>
        <translation>Aufruf: harnwick --run PAKET.hwj [Optionen]

Führt den Job eines Job-Pakets ohne Fenster auf den ausgewählten Geräten des Pakets aus:
ein Corvane-Prozess je Gerät, mit denselben Aufrufen wie Ausführen im Fenster.
Vorgaben kommen aus den Einstellungen des Fensters (Corvane-Programm, Parallelität,
Zeitlimit, Protokollierung und Protokollordner).

Optionen:
  --run PAKET.hwj      das auszuführende Job-Paket
  --concurrency N      höchstens N Geräte gleichzeitig (1 bis 100)
  --timeout SEKUNDEN   Zeitlimit, das Corvane für jedes Gerät erhält
  --log-dir ORDNER     je Gerät eine Protokolldatei in ORDNER schreiben
  --no-logs            keine Protokolldateien schreiben
  --devices ID[,ID...] nur diese Geräte des Pakets ausführen (Seriennummer,
                       oder IP-Adresse bei Geräten ohne), ausgewählt oder nicht
  --report DATEI       den Bericht des Laufs (CSV) auch in DATEI schreiben; mit
                       Protokollierung steht er immer auch im Protokollordner
  --help               diese Hilfe zeigen
  --version            die Version zeigen

Strg+C bricht die noch nicht gestarteten Geräte ab und lässt laufende fertig werden;
ein zweites Strg+C beendet auch die laufenden.

Exit-Status: 0, wenn jedes Gerät seinen Job erfolgreich ausgeführt hat, 1, wenn ein
Gerät fehlschlug, abstürzte, abgebrochen oder nie gestartet wurde, 2, wenn der Lauf
nicht beginnen konnte (falsche Optionen, ein unlesbares Paket, ein Job, der auf jedem
Gerät scheitern würde, etwa wegen einer fehlenden Image-Datei, oder ein
Corvane-Programm, das nicht läuft).</translation>
    </message>
</context>
<context>
    <name>CorvaneProcessRunner</name>
    <message>
        <source>[%1 bytes of output left out]</source>
        <translation>[%1 Bytes der Ausgabe ausgelassen]</translation>
    </message>
</context>
<context>
    <name>CorvaneReplies</name>
    <message>
        <source>Device discovery process failed with exit code %1. Process output:

%2</source>
        <translation>Die Gerätesuche ist mit Exit-Code %1 fehlgeschlagen. Prozessausgabe:

%2</translation>
    </message>
    <message>
        <source>Could not parse device discovery output. Process output:

%1</source>
        <translation>Die Ausgabe der Gerätesuche konnte nicht ausgewertet werden. Prozessausgabe:

%1</translation>
    </message>
    <message>
        <source>Could not find list of devices in discovery output. Process output:

%1</source>
        <translation>In der Ausgabe der Gerätesuche wurde keine Geräteliste gefunden. Prozessausgabe:

%1</translation>
    </message>
    <message>
        <source>Process output:

%1</source>
        <translation>Prozessausgabe:

%1</translation>
    </message>
    <message>
        <source>Could not parse adapter probe output.</source>
        <translation>Die Ausgabe der Adapterabfrage konnte nicht ausgewertet werden.</translation>
    </message>
    <message>
        <source>Adapter probe command failed.</source>
        <translation>Der Befehl zur Adapterabfrage ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Could not find kit info in adapter probe output.</source>
        <translation>In der Ausgabe der Adapterabfrage wurden keine Kit-Informationen gefunden.</translation>
    </message>
    <message>
        <source>Could not parse &apos;device info&apos; output.</source>
        <translation>Die Ausgabe von &apos;device info&apos; konnte nicht ausgewertet werden.</translation>
    </message>
    <message>
        <source>Command &apos;device info&apos; failed. Provide a hint in the &apos;Target Part&apos; column.</source>
        <translation>Der Befehl &apos;device info&apos; ist fehlgeschlagen. Geben Sie in der Spalte &apos;Target Part&apos; einen Hinweis an.</translation>
    </message>
    <message>
        <source>Could not detect target part.</source>
        <translation>Der Zielbaustein konnte nicht erkannt werden.</translation>
    </message>
    <message>
        <source>Could not detect target part - part number is not available.</source>
        <translation>Der Zielbaustein konnte nicht erkannt werden – die Teilenummer ist nicht verfügbar.</translation>
    </message>
</context>
<context>
    <name>DeviceLogFiles</name>
    <message>
        <source>The device id &apos;%1&apos; cannot name a log file because it contains a path separator or &apos;..&apos;. Please correct the serial number or IP address.</source>
        <translation>Die Geräte-ID &apos;%1&apos; kann nicht als Name einer Protokolldatei dienen, weil sie ein Pfadtrennzeichen oder &apos;..&apos; enthält. Bitte korrigieren Sie die Seriennummer oder IP-Adresse.</translation>
    </message>
</context>
<context>
    <name>FlashingRowStyleDelegate</name>
    <message>
        <source>action %1 of %2</source>
        <translation>Aktion %1 von %2</translation>
    </message>
</context>
<context>
    <name>JobChecks</name>
    <message>
        <source>Action %1 has no type: choose one or remove it.</source>
        <translation>Aktion %1 hat keinen Typ: Wählen Sie einen aus oder entfernen Sie sie.</translation>
    </message>
    <message numerus="yes">
        <source>%1 and %n more</source>
        <translation>
            <numerusform>%1 und %n weiteres</numerusform>
            <numerusform>%1 und %n weitere</numerusform>
        </translation>
    </message>
    <message>
        <source>Action %1 uses {{%2}}, which is empty for %3: fill it in or uncheck those devices.</source>
        <translation>Aktion %1 verwendet {{%2}}, das für %3 leer ist: Tragen Sie den Wert ein oder wählen Sie diese Geräte ab.</translation>
    </message>
    <message>
        <source>Action %1 names no file.</source>
        <translation>Aktion %1 nennt keine Datei.</translation>
    </message>
    <message>
        <source>Action %1: the file &quot;%2&quot; does not exist or cannot be read.</source>
        <translation>Aktion %1: Die Datei &quot;%2&quot; existiert nicht oder kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>Device %1 is listed twice: remove one of the rows.</source>
        <translation>Gerät %1 ist doppelt aufgeführt: Entfernen Sie eine der Zeilen.</translation>
    </message>
    <message>
        <source>The IP address %1 is listed twice: remove one of the rows.</source>
        <translation>Die IP-Adresse %1 ist doppelt aufgeführt: Entfernen Sie eine der Zeilen.</translation>
    </message>
    <message>
        <source>There is no enabled action to run: add an action or enable one.</source>
        <translation>Es gibt keine aktivierte Aktion zum Ausführen: Fügen Sie eine Aktion hinzu oder aktivieren Sie eine.</translation>
    </message>
</context>
<context>
    <name>JobExecution</name>
    <message>
        <source>The process hit its time limit and was ended.</source>
        <translation>Der Prozess hat sein Zeitlimit erreicht und wurde beendet.</translation>
    </message>
    <message>
        <source>The process was ended by signal %1.</source>
        <translation>Der Prozess wurde durch Signal %1 beendet.</translation>
    </message>
    <message>
        <source>The process ended with exit code %1.</source>
        <translation>Der Prozess endete mit Exit-Code %1.</translation>
    </message>
    <message>
        <source>[%1 earlier lines left out; &quot;Show Output...&quot; in the device&apos;s menu shows them all]</source>
        <translation>[%1 frühere Zeilen ausgelassen; &quot;Ausgabe anzeigen...&quot; im Menü des Geräts zeigt alle]</translation>
    </message>
</context>
<context>
    <name>JobRunEngine</name>
    <message>
        <source>Last run: %1 done, %2 failed, %3 aborted of %4 in %5</source>
        <translation>Letzter Lauf: %1 fertig, %2 fehlgeschlagen, %3 abgebrochen von %4 in %5</translation>
    </message>
    <message>
        <source>%1 done, %2 failed, %3 aborted, %4 running, %5 waiting, %6</source>
        <translation>%1 fertig, %2 fehlgeschlagen, %3 abgebrochen, %4 laufen, %5 warten, %6</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Harnwick</source>
        <translation>Harnwick</translation>
    </message>
    <message>
        <source>Harnwick Job Files (*.%1);;All Files (*)</source>
        <translation>Harnwick-Job-Dateien (*.%1);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Load Job...</source>
        <translation>Job &amp;laden...</translation>
    </message>
    <message>
        <source>&amp;Save Job...</source>
        <translation>Job &amp;speichern...</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Logging</source>
        <translation>&amp;Protokollierung</translation>
    </message>
    <message>
        <source>&amp;Enable Logging</source>
        <translation>Protokollierung &amp;aktivieren</translation>
    </message>
    <message>
        <source>&amp;Open Log File Directory</source>
        <translation>Protokollverzeichnis &amp;öffnen</translation>
    </message>
    <message>
        <source>Set &amp;Log File Directory...</source>
        <translation>Protokoll&amp;verzeichnis festlegen...</translation>
    </message>
    <message>
        <source>&amp;Revert Log File Directory to Default</source>
        <translation>Protokollverzeichnis auf Standard &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>&amp;Settings</source>
        <translation>&amp;Einstellungen</translation>
    </message>
    <message>
        <source>Set &amp;Max Concurrent Processes...</source>
        <translation>&amp;Maximale Anzahl paralleler Prozesse festlegen...</translation>
    </message>
    <message>
        <source>Set &amp;Process Timeout...</source>
        <translation>&amp;Prozess-Timeout festlegen...</translation>
    </message>
    <message>
        <source>Set &amp;Path to Corvane Executable...</source>
        <translation>P&amp;fad zur Corvane-Programmdatei festlegen...</translation>
    </message>
    <message>
        <source>&amp;Revert Corvane Executable Path to Default</source>
        <translation>Corvane-Pfad auf Standard &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;About Harnwick</source>
        <translation>&amp;Über Harnwick</translation>
    </message>
    <message>
        <source>Online &amp;User Guides</source>
        <translation>Online-&amp;Benutzerhandbücher</translation>
    </message>
    <message>
        <source>Lumenar &amp;Corvane User Guide...</source>
        <translation>Benutzerhandbuch Lumenar &amp;Corvane...</translation>
    </message>
    <message>
        <source>Lumenar &amp;Link Adapter User Guide...</source>
        <translation>Benutzerhandbuch Lumenar &amp;Link Adapter...</translation>
    </message>
    <message>
        <source>Load Job</source>
        <translation>Job laden</translation>
    </message>
    <message>
        <source>Save Job</source>
        <translation>Job speichern</translation>
    </message>
    <message>
        <source>Set Max Concurrent Processes</source>
        <translation>Maximale Anzahl paralleler Prozesse festlegen</translation>
    </message>
    <message>
        <source>Enter the maximum number of concurrent Corvane processes to run 
(default on your system is %1):</source>
        <translation>Geben Sie die maximale Anzahl gleichzeitig laufender Corvane-Prozesse ein 
(Standard auf Ihrem System: %1):</translation>
    </message>
    <message>
        <source>Set Process Timeout</source>
        <translation>Prozess-Timeout festlegen</translation>
    </message>
    <message>
        <source>Enter the timeout in seconds for each Corvane process 
(default is %1 seconds):</source>
        <translation>Geben Sie das Timeout in Sekunden für jeden Corvane-Prozess ein 
(Standard: %1 Sekunden):</translation>
    </message>
    <message>
        <source>Select Log File Directory</source>
        <translation>Protokollverzeichnis auswählen</translation>
    </message>
    <message>
        <source>Select Corvane Executable</source>
        <translation>Corvane-Programmdatei auswählen</translation>
    </message>
    <message>
        <source>Open Last &amp;Run Report</source>
        <translation>Bericht des letzten &amp;Laufs öffnen</translation>
    </message>
    <message>
        <source>No run report yet: a job run writes one into the log folder while logging is on.</source>
        <translation>Noch kein Laufbericht: Ein Joblauf schreibt ihn in den Protokollordner, solange die Protokollierung eingeschaltet ist.</translation>
    </message>
</context>
<context>
    <name>OutputViewerDialog</name>
    <message>
        <source>Copy All</source>
        <translation>Alles kopieren</translation>
    </message>
</context>
<context>
    <name>SpawnedProcess</name>
    <message>
        <source>The process is already running.</source>
        <translation>Der Prozess läuft bereits.</translation>
    </message>
    <message>
        <source>%1 cannot be executed.</source>
        <translation>%1 kann nicht ausgeführt werden.</translation>
    </message>
    <message>
        <source>No pipe for the process: %1</source>
        <translation>Keine Pipe für den Prozess: %1</translation>
    </message>
    <message>
        <source>%1 could not be started: %2</source>
        <translation>%1 konnte nicht gestartet werden: %2</translation>
    </message>
</context>
<context>
    <name>VariableExplorerWidget</name>
    <message>
        <source>Variable Explorer</source>
        <translation>Variablen-Explorer</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>Click a specific device to see its applicable variable values.
Right-click a variable to copy its name or value to the clipboard.</source>
        <translation>Klicken Sie auf ein Gerät, um die für es geltenden Variablenwerte zu sehen.
Klicken Sie mit der rechten Maustaste auf eine Variable, um ihren Namen oder Wert in die Zwischenablage zu kopieren.</translation>
    </message>
    <message>
        <source>Copy Name</source>
        <translation>Namen kopieren</translation>
    </message>
    <message>
        <source>Copy Value</source>
        <translation>Wert kopieren</translation>
    </message>
</context>
<context>
    <name>ZipUtil</name>
    <message>
        <source>Could not determine the presence of the required system zip/unzip utility: Process (&quot;%1&quot;) crashed.</source>
        <translation>Es konnte nicht festgestellt werden, ob das benötigte Systemprogramm zip/unzip vorhanden ist: Der Prozess (&quot;%1&quot;) ist abgestürzt.</translation>
    </message>
    <message>
        <source>Process &quot;%1&quot; returned exit code %2.</source>
        <translation>Der Prozess &quot;%1&quot; hat den Exit-Code %2 zurückgegeben.</translation>
    </message>
    <message>
        <source>Could not determine the presence of the required system zip/unzip utility: Process (&quot;%1&quot;) timed out.</source>
        <translation>Es konnte nicht festgestellt werden, ob das benötigte Systemprogramm zip/unzip vorhanden ist: Zeitüberschreitung beim Prozess (&quot;%1&quot;).</translation>
    </message>
    <message>
        <source>The required system utility (&quot;%1&quot;) is not available on your system.</source>
        <translation>Das benötigte Systemprogramm (&quot;%1&quot;) ist auf Ihrem System nicht verfügbar.</translation>
    </message>
    <message>
        <source>Could not determine the presence of the required system zip/unzip utility: Unknown failure.</source>
        <translation>Es konnte nicht festgestellt werden, ob das benötigte Systemprogramm zip/unzip vorhanden ist: Unbekannter Fehler.</translation>
    </message>
    <message>
        <source>Process &quot;%1&quot; crashed.</source>
        <translation>Der Prozess &quot;%1&quot; ist abgestürzt.</translation>
    </message>
    <message>
        <source>Process (&quot;%1&quot;) timed out.</source>
        <translation>Zeitüberschreitung beim Prozess (&quot;%1&quot;).</translation>
    </message>
    <message>
        <source>Process (&quot;%1&quot;) could not start.</source>
        <translation>Der Prozess (&quot;%1&quot;) konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>Process (&quot;%1&quot;) caused unknown failure.</source>
        <translation>Der Prozess (&quot;%1&quot;) hat einen unbekannten Fehler verursacht.</translation>
    </message>
    <message>
        <source>No items to zip were provided.</source>
        <translation>Es wurden keine Elemente zum Packen angegeben.</translation>
    </message>
    <message>
        <source>Could not create an absolute path from the provided path &quot;%1&quot;.</source>
        <translation>Aus dem angegebenen Pfad &quot;%1&quot; konnte kein absoluter Pfad gebildet werden.</translation>
    </message>
    <message>
        <source>Could not create the target zip file path &quot;%1&quot;.</source>
        <translation>Der Zielpfad &quot;%1&quot; für die Zip-Datei konnte nicht angelegt werden.</translation>
    </message>
    <message>
        <source>Could not create a temporary folder in &quot;%1&quot; for writing the zip archive.</source>
        <translation>In &quot;%1&quot; konnte kein temporärer Ordner zum Schreiben des Zip-Archivs angelegt werden.</translation>
    </message>
    <message>
        <source>Could not rename temporary zip file &quot;%1&quot; to target file &quot;%2&quot;.</source>
        <translation>Die temporäre Zip-Datei &quot;%1&quot; konnte nicht in die Zieldatei &quot;%2&quot; umbenannt werden.</translation>
    </message>
    <message>
        <source>Zip archive created at &quot;%1&quot;.</source>
        <translation>Zip-Archiv unter &quot;%1&quot; erstellt.</translation>
    </message>
    <message>
        <source>No target directory was provided for extracting the zip archive to.</source>
        <translation>Es wurde kein Zielverzeichnis zum Entpacken des Zip-Archivs angegeben.</translation>
    </message>
    <message>
        <source>The zip archive &quot;%1&quot; is not a regular file.</source>
        <translation>Das Zip-Archiv &quot;%1&quot; ist keine reguläre Datei.</translation>
    </message>
    <message>
        <source>Could not create a temporary copy of the zip archive &quot;%1&quot; for extraction.</source>
        <translation>Zum Entpacken konnte keine temporäre Kopie des Zip-Archivs &quot;%1&quot; angelegt werden.</translation>
    </message>
    <message>
        <source>Could not create the directory &quot;%1&quot; for extracting the zip archive to.</source>
        <translation>Das Verzeichnis &quot;%1&quot; zum Entpacken des Zip-Archivs konnte nicht angelegt werden.</translation>
    </message>
    <message>
        <source>The zip archive &quot;%1&quot; contains symbolic links, which are not extracted.</source>
        <translation>Das Zip-Archiv &quot;%1&quot; enthält symbolische Links; diese werden nicht entpackt.</translation>
    </message>
</context>
</TS>
