<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>AgentsFilterItem</name>
    <message>
        <source>Choose the agents to replay</source>
        <translation>Choisir les agents à rejouer</translation>
    </message>
    <message>
        <source>There is no agent to choose</source>
        <translation>Il n’y a aucun agent à choisir</translation>
    </message>
    <message>
        <source>Stop the replay to choose its agents: they can only change at its start</source>
        <translation>Arrêtez le rejeu pour choisir ses agents&#xa0;: ils ne peuvent changer qu’à son début</translation>
    </message>
    <message>
        <source>Agents: %1</source>
        <translation>Agents&#xa0;: %1</translation>
    </message>
    <message>
        <source>N/A</source>
        <translation>N/D</translation>
    </message>
    <message>
        <source>of %1</source>
        <translation>sur %L1</translation>
    </message>
</context>
<context>
    <name>AgentsFilterPopup</name>
    <message>
        <source>Find an agent</source>
        <translation>Chercher un agent</translation>
    </message>
    <message>
        <source>All agents</source>
        <translation>Tous les agents</translation>
    </message>
    <message>
        <source>All that were found</source>
        <translation>Tous les agents trouvés</translation>
    </message>
    <message>
        <source>Agents</source>
        <translation>Agents</translation>
    </message>
</context>
<context>
    <name>CassandraRecordItem</name>
    <message>
        <source>d MMM yyyy, hh:mm</source>
        <translation>d MMM yyyy, hh:mm</translation>
    </message>
</context>
<context>
    <name>ConfigurationPage</name>
    <message>
        <source>Parts of the recorder</source>
        <translation>Parties de l’enregistreur</translation>
    </message>
    <message>
        <source>CONFIG</source>
        <translation>CONFIG</translation>
    </message>
    <message>
        <source>RECORDS (%1)</source>
        <translation>ENREGISTREMENTS (%L1)</translation>
    </message>
    <message>
        <source>CSV FILE</source>
        <translation>FICHIER CSV</translation>
    </message>
</context>
<context>
    <name>ConfigurationTab</name>
    <message>
        <source>Disconnect the recorder to change its settings</source>
        <translation>Déconnectez l’enregistreur pour modifier ses réglages</translation>
    </message>
    <message>
        <source>Verbose</source>
        <translation>Journal détaillé</translation>
    </message>
    <message>
        <source>Custom keyspace</source>
        <translation>Keyspace personnalisé</translation>
    </message>
    <message>
        <source>Chosen keyspace</source>
        <translation>Keyspace choisi</translation>
    </message>
    <message>
        <source>Letters, digits and underscores</source>
        <translation>Lettres, chiffres et tirets bas</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Utilisateur</translation>
    </message>
    <message>
        <source>Username</source>
        <translation>Nom d’utilisateur</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>Show password</source>
        <translation>Afficher le mot de passe</translation>
    </message>
    <message>
        <source>Quenary security</source>
        <translation>Sécurité Quenary</translation>
    </message>
    <message>
        <source>Corvane security is not configured</source>
        <translation>La sécurité de Corvane n’est pas configurée</translation>
    </message>
    <message>
        <source>Private agent certificate</source>
        <translation>Certificat privé de l’agent</translation>
    </message>
    <message>
        <source>Public certificates directory</source>
        <translation>Dossier des certificats publics</translation>
    </message>
    <message>
        <source>Timestamped replay</source>
        <translation>Rejeu horodaté</translation>
    </message>
</context>
<context>
    <name>ConfirmEndOfRecording</name>
    <message>
        <source>Do you want to end the recording and load &apos;%1&apos; ?</source>
        <translation>Voulez-vous arrêter l’enregistrement en cours et charger «&#xa0;%1&#xa0;»&#x202f;?</translation>
    </message>
    <message>
        <source>END AND LOAD</source>
        <translation>ARRÊTER ET CHARGER</translation>
    </message>
</context>
<context>
    <name>ConfirmPopup</name>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Échap</translation>
    </message>
    <message>
        <source>DELETE</source>
        <translation>SUPPRIMER</translation>
    </message>
    <message>
        <source>Leave it as it is</source>
        <translation>Ne rien changer</translation>
    </message>
</context>
<context>
    <name>ConfirmRecordDeletion</name>
    <message>
        <source>Do you want to delete record ?</source>
        <translation>Voulez-vous supprimer l’enregistrement&#x202f;?</translation>
    </message>
    <message>
        <source>Do you want to delete record &apos;%1&apos; ?</source>
        <translation>Voulez-vous supprimer l’enregistrement «&#xa0;%1&#xa0;»&#x202f;?</translation>
    </message>
</context>
<context>
    <name>ConfirmRecorderDeletion</name>
    <message>
        <source>Do you want to delete recorder ?</source>
        <translation>Voulez-vous supprimer l’enregistreur&#x202f;?</translation>
    </message>
    <message>
        <source>Do you want to delete recorder &apos;%1&apos; ?</source>
        <translation>Voulez-vous supprimer l’enregistreur «&#xa0;%1&#xa0;»&#x202f;?</translation>
    </message>
</context>
<context>
    <name>ConnectButton</name>
    <message>
        <source>Connecting…</source>
        <translation>Connexion…</translation>
    </message>
    <message>
        <source>Disconnecting…</source>
        <translation>Déconnexion…</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Déconnecter</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Connecter</translation>
    </message>
    <message>
        <source>Ask the recorder&apos;s agent to stop</source>
        <translation>Demander à l’agent de l’enregistreur de s’arrêter</translation>
    </message>
    <message>
        <source>Start the recorder&apos;s agent</source>
        <translation>Démarrer l’agent de l’enregistreur</translation>
    </message>
    <message>
        <source>Waiting for the recorder to be seen on the network</source>
        <translation>En attente de l’enregistreur sur le réseau</translation>
    </message>
    <message>
        <source>This recorder cannot be started from here: its machine has no launcher</source>
        <translation>Cet enregistreur ne peut pas être démarré d’ici&#xa0;: sa machine n’a pas de lanceur</translation>
    </message>
    <message>
        <source>Please connect your platform</source>
        <translation>Veuillez connecter votre plateforme</translation>
    </message>
    <message>
        <source>It was started but did not appear on the network</source>
        <translation>Il a été démarré mais n’est pas apparu sur le réseau</translation>
    </message>
    <message>
        <source>It was asked to stop but goes on running</source>
        <translation>L’arrêt lui a été demandé mais il continue de tourner</translation>
    </message>
</context>
<context>
    <name>ConnectionWarning</name>
    <message>
        <source>Please connect your platform</source>
        <translation>Veuillez connecter votre plateforme</translation>
    </message>
</context>
<context>
    <name>DarkOrLightTextField</name>
    <message>
        <source>Not in force</source>
        <translation>Pas appliqué</translation>
    </message>
</context>
<context>
    <name>DarkOrLightTextFieldErrorHandler</name>
    <message>
        <source>Cannot be empty</source>
        <translation>Ne peut pas être vide</translation>
    </message>
    <message>
        <source>This name is already used</source>
        <translation>Ce nom est déjà utilisé</translation>
    </message>
</context>
<context>
    <name>DatabaseSection</name>
    <message>
        <source>Cannot be empty</source>
        <translation>Ne peut pas être vide</translation>
    </message>
    <message>
        <source>Type a host and a port, such as db:9042</source>
        <translation>Saisissez un hôte et un port, par exemple db:9042</translation>
    </message>
    <message>
        <source>A port is a number from 1 to 65535</source>
        <translation>Un port est un nombre de 1 à 65535</translation>
    </message>
    <message>
        <source>This is no name or address of a host</source>
        <translation>Ceci n’est ni le nom ni l’adresse d’un hôte</translation>
    </message>
    <message>
        <source>Database</source>
        <translation>Base de données</translation>
    </message>
    <message>
        <source>Host and port, or embedded:9042</source>
        <translation>Hôte et port, ou embedded:9042</translation>
    </message>
    <message>
        <source>Host and port of a Cassandra node; the host “embedded”, with any port, is the built-in store</source>
        <translation>Hôte et port d’un nœud Cassandra&#x202f;; l’hôte «&#xa0;embedded&#xa0;», avec n’importe quel port, désigne la base intégrée</translation>
    </message>
</context>
<context>
    <name>DropAreaWithOverlay</name>
    <message>
        <source>Only one file that ends in &quot;.csv&quot; can be dropped here</source>
        <translation>Un seul fichier, se terminant par «&#xa0;.csv&#xa0;», peut être déposé ici</translation>
    </message>
</context>
<context>
    <name>FileRecordItem</name>
    <message>
        <source>d MMM yyyy, hh:mm</source>
        <translation>d MMM yyyy, hh:mm</translation>
    </message>
    <message>
        <source>Rename while it is loaded; the file keeps its name</source>
        <translation>Renommer tant qu’il est chargé&#x202f;; le fichier garde son nom</translation>
    </message>
</context>
<context>
    <name>FileTab</name>
    <message>
        <source>Path to record in CSV format</source>
        <translation>Chemin d’un enregistrement au format CSV</translation>
    </message>
    <message>
        <source>A file on the recorder&apos;s machine</source>
        <translation>Un fichier sur la machine de l’enregistreur</translation>
    </message>
    <message>
        <source>Choose a file</source>
        <translation>Choisir un fichier</translation>
    </message>
    <message>
        <source>Cannot browse local files to give to remote Recorders</source>
        <translation>Impossible de parcourir les fichiers locaux pour un enregistreur distant</translation>
    </message>
    <message>
        <source>LOAD</source>
        <translation>CHARGER</translation>
    </message>
    <message>
        <source>Load the file for a replay</source>
        <translation>Charger le fichier pour le rejouer</translation>
    </message>
    <message>
        <source>Give the path of a file first</source>
        <translation>Indiquez d’abord le chemin d’un fichier</translation>
    </message>
    <message>
        <source>Connect the recorder to load a file</source>
        <translation>Connectez l’enregistreur pour charger un fichier</translation>
    </message>
    <message>
        <source>No file is loaded</source>
        <translation>Aucun fichier n’est chargé</translation>
    </message>
    <message>
        <source>Choose a record in CSV format, or drop it here.</source>
        <translation>Choisissez un enregistrement au format CSV, ou déposez-le ici.</translation>
    </message>
    <message>
        <source>Drop to load CSV file</source>
        <translation>Déposez pour charger le fichier CSV</translation>
    </message>
</context>
<context>
    <name>FiltersEditor</name>
    <message>
        <source>Filters can be applied only with a database</source>
        <translation>Les filtres ne peuvent être appliqués qu’avec une base de données</translation>
    </message>
    <message>
        <source>Recording filters</source>
        <translation>Filtres d’enregistrement</translation>
    </message>
    <message>
        <source>One rule a line: an agent, or agent/output, with * and ?. A leading - leaves out, # begins a comment; the last rule that fits decides.</source>
        <translation>Une règle par ligne&#xa0;: un agent, ou agent/sortie, avec «&#xa0;*&#xa0;» et «&#xa0;?&#xa0;». Un «&#xa0;-&#xa0;» en tête exclut, «&#xa0;#&#xa0;» commence un commentaire&#x202f;; la dernière règle qui s’applique l’emporte.</translation>
    </message>
    <message>
        <source>Nothing is left out</source>
        <translation>Rien n’est exclu</translation>
    </message>
    <message>
        <source>APPLY</source>
        <translation>APPLIQUER</translation>
    </message>
    <message>
        <source>Send the filters to the recorder</source>
        <translation>Envoyer les filtres à l’enregistreur</translation>
    </message>
    <message>
        <source>Not in force</source>
        <translation>Pas encore appliqués</translation>
    </message>
    <message>
        <source>Connect the recorder to apply its filters</source>
        <translation>Connectez l’enregistreur pour appliquer ses filtres</translation>
    </message>
</context>
<context>
    <name>HeaderBar</name>
    <message>
        <source>Back to the list of recorders</source>
        <translation>Retour à la liste des enregistreurs</translation>
    </message>
    <message>
        <source>Alt+Left</source>
        <translation>Alt+Gauche</translation>
    </message>
</context>
<context>
    <name>ImportButton</name>
    <message>
        <source>Import</source>
        <translation>Importer</translation>
    </message>
    <message>
        <source>Make a record out of a CSV file</source>
        <translation>Créer un enregistrement à partir d’un fichier CSV</translation>
    </message>
    <message>
        <source>Connect the recorder to import a file</source>
        <translation>Connectez l’enregistreur pour importer un fichier</translation>
    </message>
</context>
<context>
    <name>LoadFailure</name>
    <message>
        <source>Loading error: %1</source>
        <translation>Erreur de chargement&#xa0;: %1</translation>
    </message>
</context>
<context>
    <name>PathField</name>
    <message>
        <source>Choose a folder</source>
        <translation>Choisir un dossier</translation>
    </message>
    <message>
        <source>Choose a file</source>
        <translation>Choisir un fichier</translation>
    </message>
    <message>
        <source>Cannot browse local files to give to remote Recorders</source>
        <translation>Impossible de parcourir les fichiers locaux pour un enregistreur distant</translation>
    </message>
</context>
<context>
    <name>PositionField</name>
    <message>
        <source>Pause to type a time</source>
        <translation>Mettez en pause pour saisir un temps</translation>
    </message>
    <message>
        <source>Position: type a time to move there</source>
        <translation>Position&#xa0;: saisissez un temps pour vous y rendre</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>Type a time such as 00:02:05.500, 02:05.500 or 5.5</source>
        <translation>Saisissez un temps, par exemple 00:02:05.500, 02:05.500 ou 5.5</translation>
    </message>
    <message>
        <source>The record ends at %1</source>
        <translation>L’enregistrement se termine à %1</translation>
    </message>
</context>
<context>
    <name>ProgressFeedback</name>
    <message>
        <source>%1 %</source>
        <translation>%1&#x202f;%</translation>
    </message>
    <message>
        <source>CANCEL</source>
        <translation>ANNULER</translation>
    </message>
    <message>
        <source>End it with the next answer of the recorder</source>
        <translation>Y mettre fin à la prochaine réponse de l’enregistreur</translation>
    </message>
</context>
<context>
    <name>Progressbar</name>
    <message>
        <source>%1 %</source>
        <translation>%1&#x202f;%</translation>
    </message>
</context>
<context>
    <name>RecordItem</name>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Lecture</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espace</translation>
    </message>
    <message>
        <source>Check at least one agent to play</source>
        <translation>Cochez au moins un agent pour lancer la lecture</translation>
    </message>
    <message>
        <source>Stop, and go back to the start</source>
        <translation>Arrêter et revenir au début</translation>
    </message>
    <message>
        <source>/%1</source>
        <translation>/%1</translation>
    </message>
    <message>
        <source>Position in the record</source>
        <translation>Position dans l’enregistrement</translation>
    </message>
    <message>
        <source>Agents</source>
        <translation>Agents</translation>
    </message>
    <message>
        <source>Unload</source>
        <translation>Décharger</translation>
    </message>
    <message>
        <source>End this replay; the record stays</source>
        <translation>Mettre fin à ce rejeu&#x202f;; l’enregistrement reste</translation>
    </message>
</context>
<context>
    <name>RecordNameEditor</name>
    <message>
        <source>Record name</source>
        <translation>Nom de l’enregistrement</translation>
    </message>
</context>
<context>
    <name>RecordNameField</name>
    <message>
        <source>Record name</source>
        <translation>Nom de l’enregistrement</translation>
    </message>
</context>
<context>
    <name>RecordTools</name>
    <message>
        <source>Rename</source>
        <translation>Renommer</translation>
    </message>
    <message>
        <source>Connect the recorder to rename its records</source>
        <translation>Connectez l’enregistreur pour renommer ses enregistrements</translation>
    </message>
    <message>
        <source>Download as a CSV file: the cancel of the last download still counts, so that this one ends early</source>
        <translation>Télécharger en fichier CSV&#xa0;: l’annulation du dernier téléchargement compte encore, celui-ci s’arrêtera donc avant la fin</translation>
    </message>
    <message>
        <source>Download as a CSV file</source>
        <translation>Télécharger en fichier CSV</translation>
    </message>
    <message>
        <source>Connect the recorder to download its records</source>
        <translation>Connectez l’enregistreur pour télécharger ses enregistrements</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>Connect the recorder to delete its records</source>
        <translation>Connectez l’enregistreur pour supprimer ses enregistrements</translation>
    </message>
</context>
<context>
    <name>Recorder</name>
    <message>
        <source>The recorder &apos;%1&apos; runs but is shown as off: two of its launch lines are the same. Disconnect it in the system view, then connect it again: one of the two lines is enough, and the other goes.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» tourne mais il est affiché comme arrêté&#xa0;: deux de ses lignes de lancement sont identiques. Déconnectez-le dans la vue système, puis reconnectez-le&#xa0;: une des deux lignes suffit, et l’autre disparaît.</translation>
    </message>
</context>
<context>
    <name>RecorderFacts</name>
    <message>
        <source>no machine</source>
        <translation>aucune machine</translation>
    </message>
    <message>
        <source>this machine</source>
        <translation>cette machine</translation>
    </message>
    <message>
        <source>CSV files</source>
        <translation>fichiers CSV</translation>
    </message>
    <message>
        <source>embedded</source>
        <translation>base intégrée</translation>
    </message>
    <message>
        <source>%1 / %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>  “%1”</source>
        <translation>  «&#xa0;%1&#xa0;»</translation>
    </message>
</context>
<context>
    <name>RecorderHeader</name>
    <message>
        <source>Recorder name</source>
        <translation>Nom de l’enregistreur</translation>
    </message>
    <message>
        <source>The name cannot be changed while the recorder&apos;s agent runs</source>
        <translation>Le nom ne peut pas changer tant que l’agent de l’enregistreur tourne</translation>
    </message>
    <message>
        <source>Delete this recorder</source>
        <translation>Supprimer cet enregistreur</translation>
    </message>
    <message>
        <source>Disconnect the recorder to delete it</source>
        <translation>Déconnectez l’enregistreur pour le supprimer</translation>
    </message>
    <message>
        <source>The agent runs, so that the name did not become “%1”</source>
        <translation>L’agent tourne, le nom n’est donc pas devenu «&#xa0;%1&#xa0;»</translation>
    </message>
</context>
<context>
    <name>RecorderInstance</name>
    <message>
        <source>Save record</source>
        <translation>Sauvegarder l’enregistrement</translation>
    </message>
    <message>
        <source>CSV (*.csv)</source>
        <translation>CSV (*.csv)</translation>
    </message>
    <message>
        <source>Import record</source>
        <translation>Importer un enregistrement</translation>
    </message>
    <message>
        <source>Load CSV record file</source>
        <translation>Charger un fichier d’enregistrement CSV</translation>
    </message>
    <message>
        <source>CSV Record (*.csv)</source>
        <translation>Enregistrement CSV (*.csv)</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; left during an import: its record holds what was sent before.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est parti pendant une importation&#xa0;: son enregistrement contient ce qui a été envoyé avant.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; left during a download: the file holds what came before.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est parti pendant un téléchargement&#xa0;: le fichier contient ce qui est venu avant.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; left during a recording: nothing is recorded any more.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est parti pendant un enregistrement&#xa0;: plus rien n’est enregistré.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; went out of reach during a recording: whether it goes on recording is known when it is back.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» n’est plus joignable, au cours d’un enregistrement&#xa0;: on saura à son retour s’il continue d’enregistrer.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; was started again: the recording in which it went out of reach has ended.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» a été relancé&#xa0;: l’enregistrement au cours duquel il n’était plus joignable est terminé.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; is back: its recording has not ended.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est de retour&#xa0;: son enregistrement n’est pas terminé.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; is back: its recording has ended.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est de retour&#xa0;: son enregistrement est terminé.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; left while it loaded a record.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est parti pendant qu’il chargeait un enregistrement.</translation>
    </message>
    <message>
        <source>The recorder&apos;s program &quot;%1&quot; was not found.</source>
        <translation>Le programme «&#xa0;%1&#xa0;» de l’enregistreur est introuvable.</translation>
    </message>
    <message>
        <source>The recorder&apos;s program &quot;%1&quot; could not be started. Check that it may be executed.</source>
        <translation>Le programme «&#xa0;%1&#xa0;» de l’enregistreur n’a pas pu être lancé. Vérifiez qu’il peut être exécuté.</translation>
    </message>
    <message>
        <source>The record was removed while a file was chosen for it: nothing is written to &quot;%1&quot;.</source>
        <translation>L’enregistrement a été supprimé pendant qu’un fichier était choisi pour lui&#xa0;: rien n’est écrit dans «&#xa0;%1&#xa0;».</translation>
    </message>
    <message>
        <source>The file &quot;%1&quot; can not be written: choose another place for the download.</source>
        <translation>Le fichier «&#xa0;%1&#xa0;» ne peut pas être écrit&#xa0;: choisissez un autre emplacement pour le téléchargement.</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; ended the download of a record: the file holds what came before.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» a mis fin au téléchargement d’un enregistrement&#xa0;: le fichier contient ce qui est venu avant.</translation>
    </message>
    <message>
        <source>The file &quot;%1&quot; can not be written further (%2): it holds what came before.</source>
        <translation>Le fichier «&#xa0;%1&#xa0;» ne peut plus être écrit (%2)&#xa0;: il contient ce qui est venu avant.</translation>
    </message>
    <message>
        <source>What comes before is imported.</source>
        <translation>Ce qui précède est importé.</translation>
    </message>
    <message>
        <source>Nothing is imported.</source>
        <translation>Rien n’est importé.</translation>
    </message>
    <message>
        <source>File &quot;%1&quot; %2. %3</source>
        <translation>Le fichier «&#xa0;%1&#xa0;» %2. %3</translation>
    </message>
    <message>
        <source>can not be read from byte %1 on (%2): copy it to a disk of this machine and import the copy</source>
        <translation>ne peut pas être lu à partir de l’octet %1 (%2)&#xa0;: copiez-le sur un disque de cette machine et importez la copie</translation>
    </message>
    <message>
        <source>has a row of more than %1 MiB at byte %2, which can not be sent: see whether a field there lacks the quote that ends it</source>
        <translation>a à l’octet %2 une ligne de plus de %1 Mio, qui ne peut pas être envoyée&#xa0;: voyez s’il manque à un champ le guillemet qui le termine</translation>
    </message>
    <message>
        <source>has a line at byte %1 that is no text in UTF-8: save it as such and import it again</source>
        <translation>a à l’octet %1 une ligne qui n’est pas du texte en UTF-8&#xa0;: enregistrez-le ainsi et importez-le de nouveau</translation>
    </message>
    <message>
        <source>The file &quot;%1&quot; does not exist or can not be opened: the import ends here.</source>
        <translation>Le fichier «&#xa0;%1&#xa0;» n’existe pas ou ne peut pas être ouvert&#xa0;: l’importation s’arrête là.</translation>
    </message>
    <message>
        <source>The import ended: %1</source>
        <translation>L’importation s’est arrêtée&#xa0;: %1</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; refused a part of what was imported: its log says why.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» a refusé une partie de ce qui était importé&#xa0;: son journal dit pourquoi.</translation>
    </message>
    <message>
        <source>can not be read from byte %1 on, where it ends too early: copy it to a disk of this machine and import the copy</source>
        <translation>ne peut pas être lu à partir de l’octet %1, où il se termine trop tôt&#xa0;: copiez-le sur un disque de cette machine et importez la copie</translation>
    </message>
    <message>
        <source>The recorder &apos;%1&apos; left while a file was chosen for its record: nothing is written to &quot;%2&quot;.</source>
        <translation>L’enregistreur «&#xa0;%1&#xa0;» est parti pendant qu’un fichier était choisi pour son enregistrement&#xa0;: rien n’est écrit dans «&#xa0;%2&#xa0;».</translation>
    </message>
</context>
<context>
    <name>RecorderInstanceItem</name>
    <message>
        <source>Open this recorder</source>
        <translation>Ouvrir cet enregistreur</translation>
    </message>
    <message>
        <source>Enter</source>
        <translation>Entrée</translation>
    </message>
    <message>
        <source>Delete this recorder</source>
        <translation>Supprimer cet enregistreur</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>Disconnect the recorder to delete it</source>
        <translation>Déconnectez l’enregistreur pour le supprimer</translation>
    </message>
</context>
<context>
    <name>RecorderItem</name>
    <message numerus="yes">
        <source>%n instances</source>
        <translation>
            <numerusform>%Ln instance</numerusform>
            <numerusform>%Ln instances</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>RecorderPlugin</name>
    <message>
        <source>Record &amp; Replay</source>
        <translation>Capture et rejeu</translation>
    </message>
</context>
<context>
    <name>RecorderRecord</name>
    <message>
        <source>No agent on record</source>
        <translation>Aucun agent enregistré</translation>
    </message>
    <message>
        <source>All agents</source>
        <translation>Tous les agents</translation>
    </message>
    <message>
        <source>No agent selected</source>
        <translation>Aucun agent sélectionné</translation>
    </message>
    <message>
        <source>%1 agents</source>
        <translation>%L1 agents</translation>
    </message>
</context>
<context>
    <name>RecorderState</name>
    <message>
        <source>Off</source>
        <translation>Arrêté</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>en pause</translation>
    </message>
    <message>
        <source>Recording</source>
        <translation>Enregistrement</translation>
    </message>
    <message>
        <source>Replaying</source>
        <translation>Rejeu</translation>
    </message>
    <message>
        <source>Loading</source>
        <translation>Chargement</translation>
    </message>
    <message>
        <source>Downloading</source>
        <translation>Téléchargement</translation>
    </message>
    <message>
        <source>Importing</source>
        <translation>Importation</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Prêt</translation>
    </message>
</context>
<context>
    <name>RecordersPage</name>
    <message>
        <source>Recorders list</source>
        <translation>Liste des enregistreurs</translation>
    </message>
    <message>
        <source>New recorder</source>
        <translation>Nouvel enregistreur</translation>
    </message>
    <message>
        <source>Add a recorder to the system and open it</source>
        <translation>Ajouter un enregistreur au système et l’ouvrir</translation>
    </message>
    <message>
        <source>Open a system document first</source>
        <translation>Ouvrez d’abord un document système</translation>
    </message>
    <message>
        <source>No recorder yet</source>
        <translation>Pas encore d’enregistreur</translation>
    </message>
    <message>
        <source>Press New recorder to add one, connect it, and record.</source>
        <translation>Cliquez sur «&#xa0;Nouvel enregistreur&#xa0;» pour en ajouter un, connectez-le et enregistrez.</translation>
    </message>
    <message>
        <source>Open a system document to add recorders to it.</source>
        <translation>Ouvrez un document système pour y ajouter des enregistreurs.</translation>
    </message>
</context>
<context>
    <name>RecordingButton</name>
    <message>
        <source>Stop</source>
        <translation>Arrêter</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Démarrer l’enregistrement</translation>
    </message>
    <message>
        <source>Stop recording</source>
        <translation>Arrêter l’enregistrement</translation>
    </message>
    <message>
        <source>Start recording</source>
        <translation>Démarrer l’enregistrement</translation>
    </message>
    <message>
        <source>Connect the recorder to record</source>
        <translation>Connectez l’enregistreur pour enregistrer</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Reprendre</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Go on recording</source>
        <translation>Poursuivre l’enregistrement</translation>
    </message>
    <message>
        <source>Leave out what comes until recording goes on</source>
        <translation>Ignorer ce qui arrive jusqu’à la reprise de l’enregistrement</translation>
    </message>
</context>
<context>
    <name>RecordingCard</name>
    <message>
        <source>Recorded so far: %1</source>
        <translation>Durée enregistrée&#xa0;: %1</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>en pause</translation>
    </message>
</context>
<context>
    <name>RecordsTab</name>
    <message>
        <source>Records</source>
        <translation>Enregistrements</translation>
    </message>
    <message>
        <source>No record yet</source>
        <translation>Pas encore d’enregistrement</translation>
    </message>
    <message>
        <source>The recorder is off</source>
        <translation>L’enregistreur est arrêté</translation>
    </message>
    <message>
        <source>Connect the recorder to see its records.</source>
        <translation>Connectez l’enregistreur pour voir ses enregistrements.</translation>
    </message>
    <message>
        <source>What is recorded now is listed here when it ends.</source>
        <translation>L’enregistrement en cours figurera ici lorsqu’il sera terminé.</translation>
    </message>
    <message>
        <source>Press Record to make one, or drop a CSV file here to import it.</source>
        <translation>Cliquez sur «&#xa0;Démarrer l’enregistrement&#xa0;» pour en créer un, ou déposez ici un fichier CSV pour l’importer.</translation>
    </message>
    <message>
        <source>Drop to import file</source>
        <translation>Déposez pour importer le fichier</translation>
    </message>
</context>
<context>
    <name>SettingsSection</name>
    <message>
        <source>Disconnect the recorder to change its settings</source>
        <translation>Déconnectez l’enregistreur pour modifier ses réglages</translation>
    </message>
</context>
<context>
    <name>SpeedChooser</name>
    <message>
        <source>Speed of the replay</source>
        <translation>Vitesse du rejeu</translation>
    </message>
</context>
<context>
    <name>WayOut</name>
    <message>
        <source>The download had ended already: its file is whole. The cancel still counts for the next download, which will end early.</source>
        <translation>Le téléchargement était déjà terminé&#xa0;: son fichier est complet. L’annulation vaut encore pour le prochain téléchargement, qui s’arrêtera avant la fin.</translation>
    </message>
    <message>
        <source>Nothing is under way any more.</source>
        <translation>Plus rien n’est en cours.</translation>
    </message>
    <message>
        <source>The recorder has not answered for a while. You can leave this page while it goes on, or disconnect it.</source>
        <translation>L’enregistreur ne répond plus depuis un moment. Vous pouvez quitter cette page pendant qu’il continue, ou le déconnecter.</translation>
    </message>
    <message>
        <source>This takes long. You can leave this page while it goes on, or disconnect the recorder.</source>
        <translation>L’opération est longue. Vous pouvez quitter cette page pendant qu’elle continue, ou déconnecter l’enregistreur.</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Continuer</translation>
    </message>
    <message>
        <source>Go back to the recorder</source>
        <translation>Revenir à l’enregistreur</translation>
    </message>
    <message>
        <source>Back to the list</source>
        <translation>Retour à la liste</translation>
    </message>
    <message>
        <source>Show the list of recorders</source>
        <translation>Afficher la liste des enregistreurs</translation>
    </message>
    <message>
        <source>%1. Go back to the list and work with another recorder, or end this one&apos;s program where it runs: the page is free again as soon as it has left the network.</source>
        <translation>%1. Revenez à la liste et travaillez avec un autre enregistreur, ou mettez fin au programme de celui-ci là où il tourne&#xa0;: la page est libre dès qu’il a quitté le réseau.</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Record &amp; Replay</source>
        <translation>Capture et rejeu</translation>
    </message>
    <message>
        <source>Loading record, please wait...</source>
        <translation>Chargement de l’enregistrement, veuillez patienter…</translation>
    </message>
    <message>
        <source>Downloading record, please wait...</source>
        <translation>Téléchargement de l’enregistrement, veuillez patienter…</translation>
    </message>
    <message>
        <source>Importing record, please wait...</source>
        <translation>Importation de l’enregistrement, veuillez patienter…</translation>
    </message>
    <message>
        <source>Filtering record, please wait...</source>
        <translation>Filtrage de l’enregistrement, veuillez patienter…</translation>
    </message>
    <message>
        <source>Stopping replay, please wait...</source>
        <translation>Arrêt du rejeu, veuillez patienter…</translation>
    </message>
    <message>
        <source>Moving replay to desired time, please wait...</source>
        <translation>Déplacement du rejeu au temps voulu, veuillez patienter…</translation>
    </message>
    <message>
        <source>Canceling...</source>
        <translation>Annulation…</translation>
    </message>
</context>
</TS>
